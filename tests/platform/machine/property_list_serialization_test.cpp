#include "platform/property_list_serialization.h"

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/machine/property_list_codec.h"
#include "support/machine_builder.h"

using namespace platform;
using testsupport::MachineBuilder;

TEST(PropertyListSerializationTest, ReadsDictionariesFromMacPathsAndBytes) {
  MachineBuilder m;
  auto xml = [](const Value& v) {
    return std::string(machine::encodePropertyList(v, PropertyListFormat::XML)->asStringView());
  };
  m.file("/Volumes/Data/System/Library/CoreServices/SystemVersion.plist",
         xml(Value(Dictionary{{"ProductVersion", "14.2.1"}, {"ProductBuildVersion", "23C71"}})));
  m.file("/Volumes/Data/array.plist", xml(Value(Array{1})));
  m.file("/Volumes/Data/garbage.plist", "garbage");
  Platform p = m.platform();
  auto volume = URL::fileURLWithPath("/Volumes/Data", true);
  auto version =
      p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("System/Library/CoreServices/SystemVersion.plist", false));
  EXPECT_EQ(version, (Dictionary{{"ProductVersion", "14.2.1"}, {"ProductBuildVersion", "23C71"}}));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("array.plist", false)));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("garbage.plist", false)));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume.appendingPathComponent("missing.plist", false)));
  EXPECT_FALSE(p.propertyLists->initWithContentsOfURL(volume));

  auto parsed = p.propertyLists->propertyListWithData(Bytes::fromString(xml(Value(Array{"disk0"}))), 1);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(*parsed, Value(Array{"disk0"}));
  auto failed = p.propertyLists->propertyListWithData(Bytes::fromString("No such disk"), 0);
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.error().domain, "NSCocoaErrorDomain");
  EXPECT_EQ(failed.error().code, 3840);
  auto bytes = p.propertyLists->dataWithPropertyList(Value(Dictionary{{"a", -1}}), PropertyListFormat::Binary);
  ASSERT_TRUE(bytes);
  EXPECT_EQ(*p.propertyLists->propertyListWithData(*bytes, 0), Value(Dictionary{{"a", -1}}));
}
