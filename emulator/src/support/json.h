// A small JSON value: how scripted calls, completions and reports cross the
// control surface as text. Objects keep their key order.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quelt {
namespace ombrix {
namespace emu {

class Json {
 public:
  enum class Type { kNull, kBool, kNumber, kString, kArray, kObject };
  using Array = std::vector<Json>;
  using Member = std::pair<std::string, Json>;
  using Object = std::vector<Member>;

  Json() = default;
  Json(std::nullptr_t) {}  // NOLINT
  Json(bool value) : type_(Type::kBool), bool_(value) {}  // NOLINT
  Json(double value) : type_(Type::kNumber), number_(value) {}  // NOLINT
  Json(int32_t value) : Json(static_cast<double>(value)) {}  // NOLINT
  Json(uint32_t value) : Json(static_cast<double>(value)) {}  // NOLINT
  Json(int64_t value) : Json(static_cast<double>(value)) {}  // NOLINT
  Json(uint64_t value) : Json(static_cast<double>(value)) {}  // NOLINT
  Json(std::string value) : type_(Type::kString), string_(std::move(value)) {}  // NOLINT
  Json(const char* value) : type_(value ? Type::kString : Type::kNull), string_(value ? value : "") {}  // NOLINT
  Json(Array value) : type_(Type::kArray), array_(std::move(value)) {}  // NOLINT
  Json(Object value) : type_(Type::kObject), object_(std::move(value)) {}  // NOLINT

  static Json MakeObject(std::initializer_list<Member> members) { return Json(Object(members)); }

  Type type() const { return type_; }
  bool IsNull() const { return type_ == Type::kNull; }
  bool IsBool() const { return type_ == Type::kBool; }
  bool IsNumber() const { return type_ == Type::kNumber; }
  bool IsString() const { return type_ == Type::kString; }
  bool IsArray() const { return type_ == Type::kArray; }
  bool IsObject() const { return type_ == Type::kObject; }

  bool AsBool() const { return bool_; }
  double AsNumber() const { return number_; }
  const std::string& AsString() const { return string_; }
  const Array& AsArray() const { return array_; }
  const Object& AsObject() const { return object_; }

  // Object member, or null when absent (or not an object).
  const Json& operator[](const std::string& key) const;
  bool Has(const std::string& key) const;
  // Appends or replaces a member; turns a null value into an object.
  Json& Set(const std::string& key, Json value);
  // Appends to an array; turns a null value into an array.
  Json& Push(Json value);

  std::string Dump() const;
  // Throws std::invalid_argument on malformed text.
  static Json Parse(const std::string& text);

 private:
  Type type_ = Type::kNull;
  bool bool_ = false;
  double number_ = 0;
  std::string string_;
  Array array_;
  Object object_;
};

}  // namespace emu
}  // namespace ombrix
}  // namespace quelt
