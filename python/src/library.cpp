#include "library.hpp"

#include <string_view>

#include "embed/library_call.hpp"
#include "python.hpp"

namespace zel_python {
namespace {

using zel_embed::Message;
using zel_embed::Messages;

constexpr std::string_view warning = "warning: ";

std::string reason(const Messages& messages)
{
    const std::string best = zel_embed::reasonOf(messages);
    return best.empty() ? "cannot be read" : best;
}

bool isWarning(const Message& message)
{
    return message.text.rfind(warning, 0) == 0;
}

std::string joined(const Messages& messages)
{
    std::string text;
    for (const Message& message : messages)
        if (!isWarning(message)) text += (text.empty() ? "" : ": ") + message.text;
    return text;
}

void warn(const Messages& messages)
{
    for (const Message& message : messages) {
        if (!message.isError) continue;
        const std::size_t begin = isWarning(message) ? warning.size() : 0;
        const auto text = toText(message.text.substr(begin)).cast<std::string>();
        if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 2)) throw py::error_already_set();
    }
}

}  // namespace

void callLibrary(const std::function<int()>& call, Reasons reasons)
{
    Messages messages;
    bool succeeded = false;
    {
        const py::gil_scoped_release released;
        succeeded = zel_embed::runAlone(call, messages);
    }
    if (!succeeded)
        throw LibraryError(reasons == Reasons::all ? joined(messages) : reason(messages));
    warn(messages);
}

void callQuietly(const std::function<void()>& call) noexcept
{
    try {
        Messages messages;
        const py::gil_scoped_release released;
        zel_embed::runAlone([&] { return call(), 0; }, messages);
    } catch (...) {  // memory for messages; the record is given up then
    }
}

}  // namespace zel_python
