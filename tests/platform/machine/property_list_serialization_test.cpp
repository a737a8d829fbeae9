#include "platform/property_list_serialization.h"

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "support/machine_builder.h"

using namespace platform;
using testsupport::MachineBuilder;

TEST(PropertyListSerializationTest, ReadsDictionariesFromMacPathsAndBytes) {
  MachineBuilder m("property_lists");  // a system version, an array and garbage under /Volumes/Data
  Platform p = m.platform();
  auto volume = URL::fileURLWithPath("/Volumes/Data", true);
  auto version =
      p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("System/Library/CoreServices/SystemVersion.plist", false));
  EXPECT_EQ(version, (Dictionary{{"ProductVersion", "14.2.1"}, {"ProductBuildVersion", "23C71"}}));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("array.plist", false)));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("garbage.plist", false)));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("missing.plist", false)));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume));

  auto parsed = p.propertyLists->propertyListWithData(Bytes::fromString(m.text("/Volumes/Data/array.plist")), 1);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(*parsed, Value(Array{1}));
  auto failed = p.propertyLists->propertyListWithData(Bytes::fromString("No such disk"), 0);
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.error().domain, "NSCocoaErrorDomain");
  EXPECT_EQ(failed.error().code, 3840);
  auto bytes = p.propertyLists->dataWithPropertyList(Value(Dictionary{{"a", -1}}), PropertyListFormat::Binary);
  ASSERT_TRUE(bytes);
  EXPECT_EQ(*p.propertyLists->propertyListWithData(*bytes, 0), Value(Dictionary{{"a", -1}}));
}
