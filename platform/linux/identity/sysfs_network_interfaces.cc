#include "platform/linux/identity/sysfs_network_interfaces.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>

#include "base/c_owner.h"
#include "platform/linux/system/small_file.h"

namespace quillon {

namespace {

struct IndexedInterface {
  long index;
  NetworkInterface interface;
};

std::optional<long> readNumber(const std::string& path) {
  const auto text = readSmallFile(path);
  if (!text) return std::nullopt;
  long value = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
  if (error != std::errc() || end == text->data()) return std::nullopt;
  return value;
}

std::optional<std::string> hardwareAddress(const std::string& interfaceDirectory) {
  const auto length = readNumber(interfaceDirectory + "/addr_len");
  if (!length || *length <= 0) return std::nullopt;
  auto address = readSmallFile(interfaceDirectory + "/address");
  if (!address) return std::nullopt;
  std::string text = withoutFinalLineFeed(*std::move(address));
  if (text.empty()) return std::nullopt;
  return text;
}

}  // namespace

std::optional<std::vector<NetworkInterface>> SysfsNetworkInterfaces::list() const {
  const COwner<DIR, closedir> directory(::opendir(classDirectory_.c_str()));
  if (!directory) return std::nullopt;
  std::vector<IndexedInterface> found;
  while (const dirent* entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    const std::string interfaceDirectory = classDirectory_ + "/" + name;
    struct stat device {};
    if (::stat((interfaceDirectory + "/device").c_str(), &device) != 0) continue;
    // An interface without a readable index is going away; it is not listed.
    const auto index = readNumber(interfaceDirectory + "/ifindex");
    if (!index) continue;
    found.push_back({*index, NetworkInterface{name, hardwareAddress(interfaceDirectory)}});
  }
  std::sort(found.begin(), found.end(),
            [](const IndexedInterface& a, const IndexedInterface& b) { return a.index < b.index; });
  std::vector<NetworkInterface> interfaces;
  interfaces.reserve(found.size());
  for (IndexedInterface& indexed : found) interfaces.push_back(std::move(indexed.interface));
  return interfaces;
}

}  // namespace quillon
