// Messages of the parts that another program may use too: whoever links them says where they go.
#ifndef ZEL_COMBINE_MESSAGES_HPP
#define ZEL_COMBINE_MESSAGES_HPP

namespace zel_combine {

// A text of the run, in zel_combine on standard output.
[[gnu::format(printf, 1, 2)]] void say(const char* format, ...);

// A warning or error with the program's name before it, in zel_combine on standard error.
[[gnu::format(printf, 1, 2)]] void sayError(const char* format, ...);

}  // namespace zel_combine

#endif
