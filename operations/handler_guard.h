#pragma once
// Every handler of a controller runs inside a guard: an exception that escapes
// it is logged at level 1 as "[Class:tag] error:Name - reason" and the handler
// ends without further effect.

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace melos {

// The exception's type as the source spells it ("std::runtime_error").
std::string exceptionName(const std::exception& exception);
void logHandlerException(std::string_view className, std::string_view tag,
                         const std::exception& exception);

// Runs `body` and returns its result, or `fallback` when it threw.
template <typename Result, typename Body>
Result guarded(std::string_view className, std::string_view tag, Result fallback, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const std::exception& exception) {
    logHandlerException(className, tag, exception);
  } catch (...) {
    logHandlerException(className, tag, std::runtime_error("unknown exception"));
  }
  return fallback;
}

}  // namespace melos
