#pragma once
// Conversion of command-line text to values: text, integers of every width,
// floating point, Bool, and enumerations with a raw value of such a type.
//
// ExpressibleByArgument<V> offers:
//   static std::optional<V> parse(const std::string&);
//   static std::string defaultValueDescription(const V&);
//   static std::vector<std::string> allValueStrings();
//   static CompletionKind defaultCompletionKind();

#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "argument_parser/completion_kind.h"

namespace ArgumentParser {

template <class V, class Enable = void>
struct ExpressibleByArgument;  // no conversion: a declaration of such a type does not compile

// Shortest text of a floating-point value that reads back the same, with
// ".0" behind whole numbers ("1.0", "2.5", "inf", "nan").
std::string floatingPointDescription(double value);
std::string floatingPointDescription(float value);
std::optional<double> parseDouble(const std::string& text);
std::optional<float> parseFloat(const std::string& text);

template <>
struct ExpressibleByArgument<std::string> {
  static std::optional<std::string> parse(const std::string& text) { return text; }
  static std::string defaultValueDescription(const std::string& value) { return value; }
  static std::vector<std::string> allValueStrings() { return {}; }
  static CompletionKind defaultCompletionKind() { return CompletionKind::default_(); }
};

template <>
struct ExpressibleByArgument<bool> {
  static std::optional<bool> parse(const std::string& text) {
    if (text == "true") return true;
    if (text == "false") return false;
    return std::nullopt;
  }
  static std::string defaultValueDescription(bool value) { return value ? "true" : "false"; }
  static std::vector<std::string> allValueStrings() { return {"true", "false"}; }
  static CompletionKind defaultCompletionKind() { return CompletionKind::list({"true", "false"}); }
};

// Signed and unsigned integers of 8, 16, 32 and 64 bits and of the machine
// word: decimal digits with an optional sign; out of range is no value.
template <class I>
struct ExpressibleByArgument<I, std::enable_if_t<std::is_integral_v<I> && !std::is_same_v<I, bool> &&
                                                 !std::is_same_v<I, char>>> {
  static std::optional<I> parse(const std::string& text) {
    std::string_view digits = text;
    if (digits.starts_with('+')) digits.remove_prefix(1);
    if (digits.empty() || digits.front() == '+') return std::nullopt;
    if constexpr (std::is_unsigned_v<I>) {
      if (digits.front() == '-') {
        // "-0" is zero; any other negative number is out of range.
        auto rest = digits.substr(1);
        if (!rest.empty() && rest.find_first_not_of('0') == std::string_view::npos) return I{0};
        return std::nullopt;
      }
    }
    I value{};
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
  }
  static std::string defaultValueDescription(I value) { return std::to_string(value); }
  static std::vector<std::string> allValueStrings() { return {}; }
  static CompletionKind defaultCompletionKind() { return CompletionKind::default_(); }
};

template <>
struct ExpressibleByArgument<double> {
  static std::optional<double> parse(const std::string& text) { return parseDouble(text); }
  static std::string defaultValueDescription(double value) { return floatingPointDescription(value); }
  static std::vector<std::string> allValueStrings() { return {}; }
  static CompletionKind defaultCompletionKind() { return CompletionKind::default_(); }
};

template <>
struct ExpressibleByArgument<float> {
  static std::optional<float> parse(const std::string& text) { return parseFloat(text); }
  static std::string defaultValueDescription(float value) { return floatingPointDescription(value); }
  static std::vector<std::string> allValueStrings() { return {}; }
  static CompletionKind defaultCompletionKind() { return CompletionKind::default_(); }
};

// An enumeration with a raw value: specialise RawValueTraits<E> with
//   using RawValue = …;  static std::vector<E> allCases();  static RawValue rawValue(E);
template <class E>
struct RawValueTraits;

template <class E>
concept HasRawValue = requires(E e) {
  typename RawValueTraits<E>::RawValue;
  { RawValueTraits<E>::allCases() } -> std::convertible_to<std::vector<E>>;
  RawValueTraits<E>::rawValue(e);
};

template <class E>
struct ExpressibleByArgument<E, std::enable_if_t<HasRawValue<E>>> {
  using Raw = typename RawValueTraits<E>::RawValue;
  static std::optional<E> parse(const std::string& text) {
    auto raw = ExpressibleByArgument<Raw>::parse(text);
    if (!raw) return std::nullopt;
    for (E e : RawValueTraits<E>::allCases())
      if (RawValueTraits<E>::rawValue(e) == *raw) return e;
    return std::nullopt;
  }
  static std::string defaultValueDescription(E value) {
    return ExpressibleByArgument<Raw>::defaultValueDescription(RawValueTraits<E>::rawValue(value));
  }
  static std::vector<std::string> allValueStrings() {
    std::vector<std::string> all;
    for (E e : RawValueTraits<E>::allCases()) all.push_back(defaultValueDescription(e));
    return all;
  }
  static CompletionKind defaultCompletionKind() { return CompletionKind::list(allValueStrings()); }
};

template <class V>
concept ArgumentValue = requires(const std::string& text) {
  { ExpressibleByArgument<V>::parse(text) } -> std::same_as<std::optional<V>>;
};

}  // namespace ArgumentParser
