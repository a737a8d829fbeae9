#include "volumes/operating_system_version.h"

#include <gtest/gtest.h>

namespace {
std::string roundTrip(std::string_view text) {
  return OperatingSystemVersion::fromString(text).text();
}
}  // namespace

TEST(OperatingSystemVersionTest, TextDropsAZeroPatch) {
  EXPECT_EQ(roundTrip("13.0"), "13.0");
  EXPECT_EQ(roundTrip("13.0.0"), "13.0");
  EXPECT_EQ(roundTrip("14.2.1"), "14.2.1");
  EXPECT_EQ(roundTrip("14.2.1.5"), "14.2.1");
  EXPECT_EQ(roundTrip("10..15"), "10.15");
  EXPECT_EQ(roundTrip(".11.2."), "11.2");
  EXPECT_EQ(roundTrip("+11.-2"), "11.-2");
  // A negative patch is below 1 and is not shown.
  EXPECT_EQ(roundTrip("11.2.-3"), "11.2");
}

TEST(OperatingSystemVersionTest, FieldsAreRead) {
  auto v = OperatingSystemVersion::fromString("14.2.1");
  EXPECT_EQ(v.majorVersion, 14);
  EXPECT_EQ(v.minorVersion, 2);
  EXPECT_EQ(v.patchVersion, 1);
}

TEST(OperatingSystemVersionTest, MalformedTextThrowsTheCocoaError) {
  for (const char* bad : {"14", "", ".", "14.a", "a.1", "14.2.x", "14. 2", "14.+", "1.2a",
                          "99999999999999999999.1"}) {
    EXPECT_THROW(OperatingSystemVersion::fromString(bad), OperatingSystemVersionError) << bad;
  }
  try {
    OperatingSystemVersion::fromString("14");
  } catch (const OperatingSystemVersionError& error) {
    EXPECT_STREQ(error.what(), "String is not transformable into OperatingSystemVersion");
    EXPECT_STREQ(OperatingSystemVersionError::domain, "NSCocoaErrorDomain");
    EXPECT_EQ(OperatingSystemVersionError::code, 10);
  }
}
