// What an open record keeps to itself, beside its public fields: the memory of its lines, the byte
// order of its file, and whether the line that it holds has its values.
#ifndef ZEL_RECORDS_FILE_STATE_HPP
#define ZEL_RECORDS_FILE_STATE_HPP

#include <cstddef>

#include "zel_types.h"

namespace zel {

// Memory that lives until the record is finished. It is kept in a list, so that nothing is lost
// when the public pointers to it are pointed elsewhere.
class LineMemory {
public:
    // Zeroed bytes, or null.
    void* take(std::size_t bytes);
    bool isEmpty() const { return !blocks_; }
    void free();

private:
    struct Block;
    Block* blocks_;
};

// The byte order of the file. SwapByteOrdering is shared by all files, and the next open sets it.
class ByteOrderWatch {
public:
    // Notes the order in force as the file's: it was found in the file, or the file is written in
    // it.
    void note();
    // Whether another one is in force now; true only the first time.
    bool losesOrder();
    // Whether the file was found to be in the other order than the host.
    bool isSwapped() const;

private:
    int order_;
    bool isNoted_;
    bool isLost_;
};

// Whether the line that is held was scaled when it was read.
class ScalingWatch {
public:
    void note(bool isScaled) { isUnscaled_ = !isScaled; }
    // Whether its values are asked for and missing; true only the first time.
    bool missesValues();

private:
    bool isUnscaled_;
    bool isReported_;
};

struct FileState {
    LineMemory memory;
    ByteOrderWatch order;
    ScalingWatch scaling;
};

// The record's state: null before its open and after its end.
FileState* stateOf(const ZELType& file);

// The same, created when it does not exist yet; null when memory fails.
FileState* makeState(ZELType& file);

// Warns in the function's name, once a file, when what is written is not in the order of its
// header.
void warnOfWrittenOrder(const ZELType& file, const char* function);

// Whether an open file was found to be in the other byte order than the host.
bool isByteSwapped(const ZELType& file);

// Frees the state and the memory in it.
void freeState(ZELType& file);

}  // namespace zel

#endif
