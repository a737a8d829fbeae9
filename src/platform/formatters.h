#pragma once
// The texts in which the platform prints its own values: the descriptions of
// Foundation arrays and dictionaries, Swift's text of an array of strings and
// of Data, URL and date texts, the file-style byte count and the locale text
// of a number. Reports print these verbatim, so each form is fixed here once.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value.h"

namespace platform {

// The description of any value as it stands inside a Foundation array or
// dictionary: arrays and dictionaries over several lines (their inner lines
// indented by `indent` + 4 blanks, the closing bracket by `indent`), text
// quoted unless it is only ASCII letters and digits, booleans as 1 or 0,
// integers in decimal (signed, or unsigned above 2^63-1), reals by
// `realDescription`, URL, UUID and date by their texts (quoted by the text
// rule), bytes as "{length = n, bytes = 0x…}".
std::string foundationDescription(const Value& value, int indent = 0);
std::string foundationDescription(const Array& array, int indent = 0);
std::string foundationDescription(const Dictionary& dictionary, int indent = 0);

// What a report prints for a dictionary that is absent: the dictionary of the
// one pair "" = "".
std::string absentDictionaryDescription();

// A text as it stands inside a Foundation array or dictionary.
std::string foundationQuoted(std::string_view text);

// Swift's description of an array of strings: ["a", "b"], [] when empty.
// Inside the quotes a backslash, a double and a single quote, U+0000, tab,
// line feed and carriage return are escaped as \\, \", \', \0, \t, \n, \r;
// every other code point below U+0020, and U+007F, as \u{XX} (two upper-case
// hexadecimal digits); all else stands as it is.
std::string swiftArrayDescription(const std::vector<std::string>& strings);

// Swift's description of Data: "<n> bytes".
std::string swiftDataDescription(const Bytes& data);

// The absolute text of a URL ("file:///Volumes/Macintosh%20HD/").
std::string urlDescription(const URL& url);
// The relative path of a URL: decoded, without a final "/" unless it is "/".
std::string urlRelativePath(const URL& url);

// A date as the platform describes it: "yyyy-MM-dd HH:mm:ss +0000", in UTC,
// in the Gregorian calendar carried back and forth to any year (at least four
// digits; year 0 is 1 BC, and the years before it carry a minus sign), seconds
// cut toward the past. Dates beyond 292 billion years either way print as
// that bound.
std::string dateDescription(const Date& date);

// An integer's text for a locale: plain decimal digits with a sign, no
// grouping.
std::string localeNumberDescription(std::int64_t number);
std::string localeNumberDescription(std::uint64_t number);

// A real as a boxed number describes it: C's "%.*g" with the smallest
// precision from 1 to 17 that reads back as the same real ("0.1", "0.0001",
// "1e-05", "1e+16", "0.30000000000000004"); "inf", "-inf" and "nan".
std::string realDescription(double number);

// A byte count in the file style (1000 bytes to the kilobyte): "Zero KB",
// "1 byte", "<n> bytes" below 1000, else KB (no fraction digit), MB (one),
// GB, TB, PB, EB (two), rounded half away from zero, trailing zeros dropped,
// a value that rounds to 1000 of a unit given in the next. A negative count
// is the text of its magnitude behind a "-".
std::string byteCountFileStyle(std::int64_t byteCount);

}  // namespace platform
