#include "operations/handler_guard.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

#include "engine/log.h"

namespace melos {

std::string exceptionName(const std::exception& exception) {
  const char* mangled = typeid(exception).name();
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return status == 0 && readable ? std::string(readable.get()) : std::string(mangled);
}

void logHandlerException(std::string_view className, std::string_view tag,
                         const std::exception& exception) {
  const std::string name = exceptionName(exception);
  LogMessage(LogError, "[%.*s:%.*s] error:%s - %s", static_cast<int>(className.size()),
             className.data(), static_cast<int>(tag.size()), tag.data(), name.c_str(),
             exception.what());
}

}  // namespace melos
