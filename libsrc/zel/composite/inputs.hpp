// The files that a container is made of or that a view shows.
#ifndef ZEL_COMPOSITE_INPUTS_HPP
#define ZEL_COMPOSITE_INPUTS_HPP

#include "ground/memory.hpp"
#include "records/name_keeper.hpp"
#include "records/prefix.hpp"

namespace zel {

// Names, and where the components of each file are. A plain file is one component.
class Inputs {
public:
    // Names may be those that kept keeps. Ends the process (-1) with the message when memory fails.
    Inputs(const char* const* names, int count, const char* noMemory,
           const NameKeeper* kept = nullptr);

    int count() const { return count_; }
    const char* name(int i) const { return kept_ ? (*kept_)(names_[i]) : names_[i]; }
    const Directory& directory(int i) const { return inputs_.get()[i].directory; }
    int components(int i) const;

    // Reads the directory of an input, unless it is known. False after a message.
    bool readDirectory(int i);

    // Takes the directory of an input that has been read elsewhere.
    void setDirectory(int i, const Directory& directory);

private:
    struct Input {
        Directory directory;
        bool isKnown;
    };

    const char* const* names_;
    int count_;
    const NameKeeper* kept_;
    Owned<Input> inputs_;
};

}  // namespace zel

#endif
