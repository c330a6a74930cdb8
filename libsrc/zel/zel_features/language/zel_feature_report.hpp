// Messages of the feature layer, for its rooms.
#ifndef ZEL_FEATURES_LANGUAGE_FEATURE_REPORT_HPP
#define ZEL_FEATURES_LANGUAGE_FEATURE_REPORT_HPP

#include <cstdarg>

#include "ground/zel_door.hpp"
#include "zel_features/zel_feature_report.h"

namespace zel {

// Formats a message into infoLine and returns that, for one of the three printers.
[[gnu::format(printf, 1, 2)]] const char* message(const char* format, ...);

// The same. Not an overload: va_list is a plain pointer on some machines, and the call ambiguous.
[[gnu::format(printf, 1, 0)]] const char* messageOf(const char* format, va_list arguments);

// The message through printError, and an ending with status -1.
[[noreturn, gnu::format(printf, 1, 2)]] void failWithError(const char* format, ...);

// The same with another status.
[[noreturn, gnu::format(printf, 2, 3)]] void failWithError(int status, const char* format, ...);

}  // namespace zel

#endif
