#include <gtest/gtest.h>

#include "platform/io_kit.h"
#include "support/machine_builder.h"

using namespace platform;
using testsupport::MachineBuilder;

namespace {

std::vector<IORegistryEntryRef> all(IOIterator iterator) {
  std::vector<IORegistryEntryRef> entries;
  while (auto e = iterator.next()) entries.push_back(e);
  EXPECT_FALSE(iterator.next());  // stays at the end
  return entries;
}

}  // namespace

TEST(IOKitTest, MatchingHandsOutEveryMediaObjectInFileOrder) {
  MachineBuilder m("io_kit_order");  // disk2, disk0, an empty object, disk1
  auto io = m.platform().ioKit;
  auto matching = io->IOServiceMatching("IOMedia");
  EXPECT_EQ(matching, (Dictionary{{"IOProviderClass", Value("IOMedia")}}));
  auto services = io->IOServiceGetMatchingServices(matching);
  ASSERT_TRUE(services);
  auto entries = all(*services);
  ASSERT_EQ(entries.size(), 4u);
  std::vector<std::string> names;
  for (const auto& e : entries) {
    auto name = io->IORegistryEntryCreateCFProperty(e, "BSD Name");
    names.push_back(name ? *name->string() : "(none)");
  }
  EXPECT_EQ(names, (std::vector<std::string>{"disk2", "disk0", "(none)", "disk1"}));

  // Other classes have no entries; that is not a failure.
  auto other = io->IOServiceGetMatchingServices(io->IOServiceMatching("IOBlockStorageDevice"));
  ASSERT_TRUE(other);
  EXPECT_TRUE(other->isEmpty());
}

TEST(IOKitTest, PropertiesOfTheEntryAndTheRecursiveParentSearch) {
  // disk5 with three properties and two parents, "Shadowed" and "image-path"
  // in both; then an object with no "io" and one parent.
  MachineBuilder m("io_kit_parents");
  auto io = m.platform().ioKit;
  auto entries = all(*io->IOServiceGetMatchingServices(io->IOServiceMatching("IOMedia")));
  ASSERT_EQ(entries.size(), 2u);
  const auto& withIo = entries[0];
  const auto& withoutIo = entries[1];

  auto props = io->IORegistryEntryCreateCFProperties(withIo);
  ASSERT_TRUE(props);
  EXPECT_EQ(props->size(), 3u);
  EXPECT_EQ(io->IORegistryEntryCreateCFProperty(withIo, "Role")->array()->size(), 1u);
  // The plain property read never looks at the parents.
  EXPECT_FALSE(io->IORegistryEntryCreateCFProperty(withIo, "DiskImageURL"));

  const std::uint32_t up = kIORegistryIterateRecursively | kIORegistryIterateParents;
  auto search = [&](const IORegistryEntryRef& e, std::string_view key, std::uint32_t options,
                    std::string_view plane = kIOServicePlane) {
    return io->IORegistryEntrySearchCFProperty(e, plane, key, options);
  };
  EXPECT_EQ(*search(withIo, "Shadowed", up)->string(), "own");  // the entry first
  EXPECT_EQ(search(withIo, "image-path", up)->data()->asStringView(), "/a.dmg");  // nearest parent
  EXPECT_EQ(*search(withIo, "DiskImageURL", up)->string(), "file:///b.dmg");
  EXPECT_FALSE(search(withIo, "Missing", up));
  EXPECT_FALSE(search(withIo, "DiskImageURL", 0));
  EXPECT_FALSE(search(withIo, "DiskImageURL", kIORegistryIterateRecursively));  // towards children
  EXPECT_FALSE(search(withIo, "DiskImageURL", up, "IODeviceTree"));

  // Without "io" the properties fail, and the search still reaches the parents.
  EXPECT_FALSE(io->IORegistryEntryCreateCFProperties(withoutIo));
  EXPECT_FALSE(io->IORegistryEntryCreateCFProperty(withoutIo, "BSD Name"));
  EXPECT_EQ(*search(withoutIo, "DiskImageURL", up)->string(), "file:///c.dmg");

  EXPECT_FALSE(io->IORegistryEntryCreateCFProperties(nullptr));
  EXPECT_FALSE(search(nullptr, "DiskImageURL", up));
}
