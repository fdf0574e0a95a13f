#include "loop.h"

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <fstream>

#include "fault.h"

namespace fiarray {

namespace {

constexpr int kTries = 8;

// Asks for a free device and takes it; false when another process was quicker.
bool takeFree(const File& control, const File& image, fs::path& device) {
  const int number = ioctl(control.fd(), LOOP_CTL_GET_FREE);
  if (number < 0) throw ioFault("loop-control");
  device = "/dev/loop" + std::to_string(number);
  const File loop(device, O_RDWR);
  loop_config config{};
  config.fd = static_cast<uint32_t>(image.fd());
  if (ioctl(loop.fd(), LOOP_CONFIGURE, &config) == 0) return true;
  if (errno != EBUSY) throw ioFault("configure " + device.string());
  return false;
}

}  // namespace

fs::path attachedDevice(const fs::path& image) {
  std::error_code missing;
  const std::string wanted = fs::canonical(image, missing).string();
  for (const auto& entry : fs::directory_iterator("/sys/block", missing)) {
    std::ifstream file(entry.path() / "loop/backing_file");
    std::string backing;
    if (std::getline(file, backing) && backing == wanted) return "/dev" / entry.path().filename();
  }
  return {};
}

fs::path attach(const fs::path& image) {
  try {
    const File control("/dev/loop-control", O_RDWR);
    const File file(image, O_RDWR);
    fs::path device;
    for (int i = 0; i < kTries; ++i) {
      if (takeFree(control, file, device)) return device;
    }
  } catch (const Fault&) {
    // The image itself stands for the device.
  }
  return {};
}

void detach(const fs::path& image) {
  for (int i = 0; i < kTries; ++i) {
    const fs::path device = attachedDevice(image);
    if (device.empty()) return;
    const File loop(device, O_RDWR);
    loop.sync();
    if (ioctl(loop.fd(), LOOP_CLR_FD) != 0) throw ioFault("detach " + device.string());
  }
}

void flush(const fs::path& image) {
  const fs::path device = attachedDevice(image);
  if (!device.empty()) File(device, O_RDWR).sync();
}

}  // namespace fiarray
