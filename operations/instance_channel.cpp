#include "operations/instance_channel.h"

namespace melos {

std::string instanceSocketPath(const char* runtimeDir, unsigned userId) {
  if (runtimeDir != nullptr && runtimeDir[0] == '/') return std::string(runtimeDir) + "/meloscribe.socket";
  return "/tmp/meloscribe-" + std::to_string(userId) + ".socket";
}

std::string encodeOpenRequest(const std::vector<std::string>& absolutePaths) {
  std::string message(kOpenRequestHeader);
  message += '\n';
  for (const std::string& path : absolutePaths) {
    if (path.empty() || path.find('\n') != std::string::npos) continue;
    message += path;
    message += '\n';
  }
  return message;
}

std::optional<std::vector<std::string>> decodeOpenRequest(const std::string& message) {
  const std::string header = std::string(kOpenRequestHeader) + "\n";
  if (message.compare(0, header.size(), header) != 0) return std::nullopt;
  std::vector<std::string> paths;
  size_t at = header.size();
  while (at < message.size()) {
    const size_t end = message.find('\n', at);
    if (end == std::string::npos) return std::nullopt;  // cut short
    if (end > at) paths.push_back(message.substr(at, end - at));
    at = end + 1;
  }
  return paths;
}

}  // namespace melos
