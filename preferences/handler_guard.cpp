#include "preferences/handler_guard.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <typeinfo>

#include "engine/log.h"

namespace melos {
namespace {

std::string exceptionName(const std::exception& error) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(typeid(error).name(), nullptr, nullptr, &status),
                                               std::free);
  return status == 0 && name ? std::string(name.get()) : std::string(typeid(error).name());
}

}  // namespace

void logCaughtException(const char* controller, const char* tag) noexcept {
  try {
    throw;
  } catch (const std::exception& error) {
    try {
      LogMessage(LogError, "[%s:%s] error:%s - %s", controller, tag, exceptionName(error).c_str(), error.what());
    } catch (...) {
      // Nothing more can be said of it.
    }
  } catch (...) {
    LogMessage(LogError, "[%s:%s] error:%s - %s", controller, tag, "unknown", "an exception of unknown type");
  }
}

}  // namespace melos
