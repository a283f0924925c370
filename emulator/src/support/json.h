// A small JSON value: how scripted calls, completions and reports cross the
// control surface as text. Objects keep their key order.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quelt::ombrix::emu {

class Json {
 public:
  // In the order of the alternatives that hold them.
  enum class Type { kNull, kBool, kNumber, kString, kArray, kObject };
  using Array = std::vector<Json>;
  using Member = std::pair<std::string, Json>;
  using Object = std::vector<Member>;

  Json() = default;
  Json(std::nullptr_t) {}                                     // NOLINT
  Json(bool value) : value_(value) {}                         // NOLINT
  Json(double value) : value_(value) {}                       // NOLINT
  Json(int32_t value) : Json(static_cast<double>(value)) {}   // NOLINT
  Json(uint32_t value) : Json(static_cast<double>(value)) {}  // NOLINT
  Json(int64_t value) : Json(static_cast<double>(value)) {}   // NOLINT
  Json(uint64_t value) : Json(static_cast<double>(value)) {}  // NOLINT
  Json(std::string value) : value_(std::move(value)) {}       // NOLINT
  Json(const char* value) {
    if (value) value_ = std::string(value);
  }                                                 // NOLINT
  Json(Array value) : value_(std::move(value)) {}   // NOLINT
  Json(Object value) : value_(std::move(value)) {}  // NOLINT

  static Json MakeObject(std::initializer_list<Member> members) { return Json(Object(members)); }

  Type type() const { return static_cast<Type>(value_.index()); }
  bool IsNull() const { return type() == Type::kNull; }
  bool IsBool() const { return type() == Type::kBool; }
  bool IsNumber() const { return type() == Type::kNumber; }
  bool IsString() const { return type() == Type::kString; }
  bool IsArray() const { return type() == Type::kArray; }
  bool IsObject() const { return type() == Type::kObject; }

  // A value of another type reads as false, 0 or empty.
  bool AsBool() const;
  double AsNumber() const;
  const std::string& AsString() const;
  const Array& AsArray() const;
  const Object& AsObject() const;

  // Object member, or null when absent (or not an object).
  const Json& operator[](const std::string& key) const;
  bool Has(const std::string& key) const;
  // Appends or replaces a member; turns a value that is not an object into one.
  Json& Set(const std::string& key, Json value);
  // Appends to an array; turns a value that is not an array into one.
  Json& Push(Json value);

  std::string Dump() const;
  // Throws std::invalid_argument on malformed text.
  static Json Parse(const std::string& text);

 private:
  // One alternative at a time keeps a value (and each object member) small:
  // scripted calls hold their arguments as Json for as long as they pend.
  std::variant<std::monostate, bool, double, std::string, Array, Object> value_;
};

}  // namespace quelt::ombrix::emu
