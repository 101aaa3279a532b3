#pragma once
// The exception guard around every handler of a controller: a caught
// exception is logged at level 1 as "[CLASS:TAG] error:NAME - REASON" and the
// handler ends without further effect. The controllers of the editors and of
// the preferences share it.

#include <string>
#include <type_traits>

namespace melos {

// Logs the exception being handled; call it only from a catch block.
void logCaughtException(const char* controller, const char* tag) noexcept;

// The handler's result, or onError when it threw.
template <typename Handler, typename Result = std::invoke_result_t<Handler>>
Result guarded(const char* controller, const char* tag, Handler&& handler, Result onError) noexcept {
  try {
    return handler();
  } catch (...) {
    logCaughtException(controller, tag);
  }
  return onError;
}

template <typename Handler>
void guarded(const char* controller, const char* tag, Handler&& handler) noexcept {
  try {
    handler();
  } catch (...) {
    logCaughtException(controller, tag);
  }
}

}  // namespace melos
