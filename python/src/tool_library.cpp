// The parts of the command zel that the package uses call the library through this. They run inside
// of a call of the library, which takes care of endings.
#include "scene/library.hpp"

void zel_tool::guarded(const std::function<void()>& call)
{
    call();
}
