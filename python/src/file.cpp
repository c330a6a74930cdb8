#include "file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "python.hpp"

namespace zel_python {
namespace {

[[noreturn]] void throwSystemError(const std::string& name, int error)
{
    errno = error;
    const py::object path =
        py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(name.c_str()));
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, path.ptr());
    throw py::error_already_set();
}

// A pipe or a device could block for ever, and has no place to go back to.
int openFile(const std::string& name)
{
    const int number = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (number < 0) throwSystemError(name, errno);
    struct stat status {};
    if (fstat(number, &status) == 0 && S_ISREG(status.st_mode)) return number;
    ::close(number);
    throwSystemError(name, S_ISDIR(status.st_mode) ? EISDIR : ESPIPE);
}

}  // namespace

Descriptor::~Descriptor()
{
    ::close(number_);
}

bool Descriptor::read(std::int64_t place, void* bytes, std::size_t size) const
{
    auto* at = static_cast<char*>(bytes);
    while (size > 0) {
        const ssize_t got = pread(number_, at, size, place);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        at += got;
        place += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

std::int64_t Descriptor::size() const
{
    struct stat status {};
    return fstat(number_, &status) == 0 ? status.st_size : 0;
}

Stream::Stream(const Descriptor& file) : cookie_{file, 0}
{
    cookie_io_functions_t functions{};
    functions.read = readFrom;
    functions.seek = seekIn;
    stream_.reset(fopencookie(&cookie_, "rb", functions));
    if (!stream_) throw std::bad_alloc();
    std::setvbuf(stream_.get(), nullptr, _IOFBF, 65536);
}

ssize_t Stream::readFrom(void* cookie, char* buffer, std::size_t size)
{
    auto& c = *static_cast<Cookie*>(cookie);
    const std::int64_t left = std::max<std::int64_t>(c.file.size() - c.position, 0);
    size = static_cast<std::size_t>(std::min(static_cast<std::int64_t>(size), left));
    if (size == 0) return 0;
    if (!c.file.read(c.position, buffer, size)) {
        errno = EIO;
        return -1;
    }
    c.position += static_cast<std::int64_t>(size);
    return static_cast<ssize_t>(size);
}

int Stream::seekIn(void* cookie, off64_t* offset, int origin)
{
    auto& c = *static_cast<Cookie*>(cookie);
    std::int64_t position = *offset;
    if (origin == SEEK_CUR) position += c.position;
    if (origin == SEEK_END) position += c.file.size();
    if (position < 0) return -1;
    c.position = *offset = position;
    return 0;
}

File::File(const std::string& name)
    : name_(name), open_(std::make_shared<const Descriptor>(openFile(name)))
{
}

Open File::open() const
{
    if (!open_) throw py::value_error("the scene is closed");
    return open_;
}

}  // namespace zel_python
