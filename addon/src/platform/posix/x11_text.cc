#include "platform/posix/x11_text.h"

namespace ombrix_addon::x11 {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

bool Continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The length of the well-formed sequence at `at`, or 0 with `valid` set to
// the bytes of the ill-formed prefix to replace as one.
size_t Sequence(std::string_view text, size_t at, size_t* valid) {
  const unsigned char lead = static_cast<unsigned char>(text[at]);
  if (lead < 0x80) return 1;
  size_t length = 0;
  unsigned char low = 0x80;   // the second byte's range, narrowed where
  unsigned char high = 0xBF;  // overlong forms and surrogates would begin
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  }
  size_t i = 1;
  for (; length && i < length && at + i < text.size(); ++i) {
    const unsigned char byte = static_cast<unsigned char>(text[at + i]);
    const bool inRange = i == 1 ? byte >= low && byte <= high : Continuation(byte);
    if (!inRange) break;
  }
  if (length && i == length) return length;
  *valid = i;
  return 0;
}

}  // namespace

std::string Latin1ToUtf8(std::string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (const unsigned char byte : text) {
    if (byte < 0x80) {
      utf8 += static_cast<char>(byte);
    } else {
      utf8 += static_cast<char>(0xC0 | (byte >> 6));
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return utf8;
}

std::string ValidUtf8(std::string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    size_t invalid = 0;
    const size_t length = Sequence(text, at, &invalid);
    if (length) {
      utf8.append(text.substr(at, length));
      at += length;
    } else {
      utf8 += kReplacement;
      at += invalid;
    }
  }
  return utf8;
}

std::string CutToUtf16Units(const std::string& utf8, size_t units) {
  size_t used = 0;
  size_t end = 0;
  while (end < utf8.size()) {
    const unsigned char lead = static_cast<unsigned char>(utf8[end]);
    const size_t bytes = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    const size_t width = bytes == 4 ? 2 : 1;
    if (used + width > units) break;
    used += width;
    end += bytes;
  }
  return utf8.substr(0, end);
}

}  // namespace ombrix_addon::x11
