// A ZEL file that is being written, under a temporary name until it is whole.
#pragma once

#include <memory>
#include <string>

#include "base/output_file.hpp"
#include "zel.h"

namespace zel_tool {

class Writer {
public:
    // With the header and the channels of a view. Nothing is created yet. Throws Failure.
    explicit Writer(ZELType& view);

    ZELType& record() { return *record_; }

    // Makes the file under its temporary name, still empty; open writes what is before the lines.
    void create(const std::string& name, Overwrite overwrite);
    void open();
    void writeLine();

    // Completes the file and gives it its name.
    void commit();

private:
    struct Finish {
        void operator()(ZELType* record) const;
    };

    std::string name_;
    std::unique_ptr<OutputFile> file_;
    std::unique_ptr<ZELType, Finish> record_;  // closed before the file is removed
};

}  // namespace zel_tool
