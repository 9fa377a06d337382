#include "QtUsbBus.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fillstation {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What the device transfers into a buffer of that size.
std::optional<Bytes> answer(StringDescriptors& device, const UsbRequest& request,
                            std::size_t size = 256) {
  Bytes buffer(size);
  const auto count = device.deviceRequest(request, buffer);
  if (!count) {
    return std::nullopt;
  }
  buffer.resize(*count);
  return buffer;
}

TEST(StringDescriptors, AreThoseOfTheTextsCutToTheLongest) {
  StringDescriptors device({"M\u00E4", "\xFF", std::string(200, 's')}, 0x0219);
  EXPECT_EQ(answer(device, {0x80, 6, 0x0301, 1033, 256}), (Bytes{6, 3, 'M', 0, 0xE4, 0}));
  EXPECT_EQ(answer(device, {0x80, 6, 0x0302, 1033, 256}), (Bytes{2, 3})) << "no text";
  const auto longest = answer(device, {0x80, 6, 0x0303, 1033, 256});
  ASSERT_TRUE(longest);
  EXPECT_EQ(longest->size(), 254U);
  EXPECT_EQ(longest->front(), 254);
  EXPECT_EQ(longest->at(252), 's');
  EXPECT_EQ(answer(device, {0x80, 6, 0x0303, 1033, 4}), (Bytes{254, 3, 's', 0}));
  EXPECT_EQ(answer(device, {0x80, 6, 0x0303, 1033, 256}, 3), (Bytes{254, 3, 's'}));
}

TEST(StringDescriptors, AreAllThatTheDeviceAnswers) {
  StringDescriptors device({"maker", "", "serial"}, 0x0219);
  EXPECT_TRUE(answer(device, {0x80, 6, 0x0301, 0, 256}));
  for (const auto& other : std::vector<UsbRequest>{{0, 6, 0x0301, 0, 256},
                                                   {0x81, 6, 0x0301, 0, 256},
                                                   {0x80, 5, 0x0301, 0, 256},
                                                   {0x80, 6, 0x0201, 0, 256},
                                                   {0x80, 6, 0x0300, 0, 256},
                                                   {0x80, 6, 0x0302, 0, 256},
                                                   {0x80, 6, 0x0304, 0, 256},
                                                   {0x80, 6, 0x03FF, 0, 256}}) {
    EXPECT_FALSE(answer(device, other)) << other.value;
  }
}

// Of a class that nobody asks.
class EmptyBus : public QtUsbBus {
 public:
  explicit EmptyBus(const StopSource& stop) : QtUsbBus(stop) {}
  bool open(std::string_view /*className*/) override { return false; }
  void watchMedia(std::function<void()> /*notification*/) override {}
  std::optional<std::int64_t> takeMedium(const DiskIdentity& /*player*/) override { return {}; }
  UsbPlace placeOf(std::uint32_t /*handle*/) const override { return {}; }
};

TEST(QtUsbBus, AnIteratorMayOutliveIt) {
  StopSource stop;
  auto bus = std::make_unique<EmptyBus>(stop);
  const auto iterator = bus->watchAttach([](UsbDeviceIterator&) {});
  bus.reset();
  EXPECT_EQ(iterator->next(), nullptr);
}

}  // namespace
}  // namespace fillstation
