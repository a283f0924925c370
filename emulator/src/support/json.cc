#include "support/json.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace quelt::ombrix::emu {

namespace {

const Json& NullJson() {
  static const Json* null = new Json();
  return *null;
}

void DumpString(const std::string& text, std::string* out) {
  out->push_back('"');
  for (unsigned char c : text) {
    switch (c) {
      case '"':
        *out += "\\\"";
        break;
      case '\\':
        *out += "\\\\";
        break;
      case '\n':
        *out += "\\n";
        break;
      case '\r':
        *out += "\\r";
        break;
      case '\t':
        *out += "\\t";
        break;
      case '\b':
        *out += "\\b";
        break;
      case '\f':
        *out += "\\f";
        break;
      default:
        if (c < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
          *out += escaped;
        } else {
          out->push_back(static_cast<char>(c));
        }
    }
  }
  out->push_back('"');
}

void DumpValue(const Json& value, std::string* out) {
  switch (value.type()) {
    case Json::Type::kNull:
      *out += "null";
      break;
    case Json::Type::kBool:
      *out += value.AsBool() ? "true" : "false";
      break;
    case Json::Type::kNumber: {
      double n = value.AsNumber();
      if (!std::isfinite(n)) {
        *out += "null";
      } else if (n == std::floor(n) && std::fabs(n) < 9.007199254740992e15) {
        *out += std::to_string(static_cast<long long>(n));
      } else {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%.17g", n);
        *out += buffer;
      }
      break;
    }
    case Json::Type::kString:
      DumpString(value.AsString(), out);
      break;
    case Json::Type::kArray: {
      out->push_back('[');
      bool first = true;
      for (const Json& item : value.AsArray()) {
        if (!first) out->push_back(',');
        first = false;
        DumpValue(item, out);
      }
      out->push_back(']');
      break;
    }
    case Json::Type::kObject: {
      out->push_back('{');
      bool first = true;
      for (const auto& member : value.AsObject()) {
        if (!first) out->push_back(',');
        first = false;
        DumpString(member.first, out);
        out->push_back(':');
        DumpValue(member.second, out);
      }
      out->push_back('}');
      break;
    }
  }
}

class Parser {
 public:
  explicit Parser(const std::string& text) : text_(text) {}

  Json ParseDocument() {
    Json value = ParseValue();
    SkipSpace();
    if (pos_ != text_.size()) Fail("trailing characters");
    return value;
  }

 private:
  [[noreturn]] void Fail(const char* what) {
    throw std::invalid_argument(std::string("invalid JSON (") + what + ") at offset " +
                                std::to_string(pos_));
  }

  void SkipSpace() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\n' ||
                                   text_[pos_] == '\r' || text_[pos_] == '\t')) {
      ++pos_;
    }
  }

  bool Consume(const char* literal) {
    size_t n = std::char_traits<char>::length(literal);
    if (text_.compare(pos_, n, literal) != 0) return false;
    pos_ += n;
    return true;
  }

  Json ParseValue() {
    if (++depth_ > 256) Fail("nesting too deep");
    SkipSpace();
    if (pos_ >= text_.size()) Fail("unexpected end");
    Json result;
    char c = text_[pos_];
    if (c == '{') {
      result = ParseObject();
    } else if (c == '[') {
      result = ParseArray();
    } else if (c == '"') {
      result = Json(ParseString());
    } else if (Consume("true")) {
      result = Json(true);
    } else if (Consume("false")) {
      result = Json(false);
    } else if (Consume("null")) {
      result = Json();
    } else {
      result = Json(ParseNumber());
    }
    --depth_;
    return result;
  }

  Json ParseObject() {
    ++pos_;
    Json::Object members;
    SkipSpace();
    if (pos_ < text_.size() && text_[pos_] == '}') {
      ++pos_;
      return Json(std::move(members));
    }
    for (;;) {
      SkipSpace();
      if (pos_ >= text_.size() || text_[pos_] != '"') Fail("expected key");
      std::string key = ParseString();
      SkipSpace();
      if (pos_ >= text_.size() || text_[pos_] != ':') Fail("expected ':'");
      ++pos_;
      members.emplace_back(std::move(key), ParseValue());
      SkipSpace();
      if (pos_ < text_.size() && text_[pos_] == ',') {
        ++pos_;
        continue;
      }
      if (pos_ < text_.size() && text_[pos_] == '}') {
        ++pos_;
        return Json(std::move(members));
      }
      Fail("expected ',' or '}'");
    }
  }

  Json ParseArray() {
    ++pos_;
    Json::Array items;
    SkipSpace();
    if (pos_ < text_.size() && text_[pos_] == ']') {
      ++pos_;
      return Json(std::move(items));
    }
    for (;;) {
      items.push_back(ParseValue());
      SkipSpace();
      if (pos_ < text_.size() && text_[pos_] == ',') {
        ++pos_;
        continue;
      }
      if (pos_ < text_.size() && text_[pos_] == ']') {
        ++pos_;
        return Json(std::move(items));
      }
      Fail("expected ',' or ']'");
    }
  }

  double ParseNumber() {
    const char* start = text_.c_str() + pos_;
    char* end = nullptr;
    double value = std::strtod(start, &end);
    if (end == start) Fail("unexpected character");
    pos_ += static_cast<size_t>(end - start);
    return value;
  }

  unsigned ParseHex4() {
    if (pos_ + 4 > text_.size()) Fail("short \\u escape");
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
      char c = text_[pos_++];
      value <<= 4;
      if (c >= '0' && c <= '9')
        value |= static_cast<unsigned>(c - '0');
      else if (c >= 'a' && c <= 'f')
        value |= static_cast<unsigned>(c - 'a' + 10);
      else if (c >= 'A' && c <= 'F')
        value |= static_cast<unsigned>(c - 'A' + 10);
      else
        Fail("bad \\u escape");
    }
    return value;
  }

  static void AppendUtf8(unsigned code, std::string* out) {
    if (code < 0x80) {
      out->push_back(static_cast<char>(code));
    } else if (code < 0x800) {
      out->push_back(static_cast<char>(0xC0 | (code >> 6)));
      out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
      out->push_back(static_cast<char>(0xE0 | (code >> 12)));
      out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
      out->push_back(static_cast<char>(0xF0 | (code >> 18)));
      out->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
  }

  std::string ParseString() {
    ++pos_;  // opening quote
    std::string out;
    while (pos_ < text_.size()) {
      char c = text_[pos_++];
      if (c == '"') return out;
      if (c != '\\') {
        out.push_back(c);
        continue;
      }
      if (pos_ >= text_.size()) break;
      char e = text_[pos_++];
      switch (e) {
        case '"':
          out.push_back('"');
          break;
        case '\\':
          out.push_back('\\');
          break;
        case '/':
          out.push_back('/');
          break;
        case 'b':
          out.push_back('\b');
          break;
        case 'f':
          out.push_back('\f');
          break;
        case 'n':
          out.push_back('\n');
          break;
        case 'r':
          out.push_back('\r');
          break;
        case 't':
          out.push_back('\t');
          break;
        case 'u': {
          unsigned code = ParseHex4();
          if (code >= 0xD800 && code <= 0xDBFF && text_.compare(pos_, 2, "\\u") == 0) {
            pos_ += 2;
            unsigned low = ParseHex4();
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
          }
          AppendUtf8(code, &out);
          break;
        }
        default:
          Fail("bad escape");
      }
    }
    Fail("unterminated string");
  }

  const std::string& text_;
  size_t pos_ = 0;
  int depth_ = 0;
};

}  // namespace

namespace {
template <class T>
const T& Empty() {
  static const T* empty = new T();
  return *empty;
}
}  // namespace

bool Json::AsBool() const {
  const bool* value = std::get_if<bool>(&value_);
  return value && *value;
}

double Json::AsNumber() const {
  const double* value = std::get_if<double>(&value_);
  return value ? *value : 0;
}

const std::string& Json::AsString() const {
  const std::string* value = std::get_if<std::string>(&value_);
  return value ? *value : Empty<std::string>();
}

const Json::Array& Json::AsArray() const {
  const Array* value = std::get_if<Array>(&value_);
  return value ? *value : Empty<Array>();
}

const Json::Object& Json::AsObject() const {
  const Object* value = std::get_if<Object>(&value_);
  return value ? *value : Empty<Object>();
}

const Json& Json::operator[](const std::string& key) const {
  for (const auto& member : AsObject()) {
    if (member.first == key) return member.second;
  }
  return NullJson();
}

bool Json::Has(const std::string& key) const {
  for (const auto& member : AsObject()) {
    if (member.first == key) return true;
  }
  return false;
}

Json& Json::Set(const std::string& key, Json value) {
  if (!IsObject()) value_ = Object();
  Object& object = std::get<Object>(value_);
  for (auto& member : object) {
    if (member.first == key) {
      member.second = std::move(value);
      return *this;
    }
  }
  object.emplace_back(key, std::move(value));
  return *this;
}

Json& Json::Push(Json value) {
  if (!IsArray()) value_ = Array();
  std::get<Array>(value_).push_back(std::move(value));
  return *this;
}

std::string Json::Dump() const {
  std::string out;
  DumpValue(*this, &out);
  return out;
}

Json Json::Parse(const std::string& text) { return Parser(text).ParseDocument(); }

}  // namespace quelt::ombrix::emu
