// The lines of the view, read ahead of those that are written when there is a thread for it.
#ifndef ZEL_COMBINE_INPUT_LINES_HPP
#define ZEL_COMBINE_INPUT_LINES_HPP

#include <condition_variable>
#include <mutex>
#include <thread>

#include "zel.h"

namespace zel_combine {

// How many threads the user allows: ZEL_NUM_THREADS, 1 where it is not set or is no number from 1
// on.
int numThreads();

// Reads lines with ZELReadLine, in its order and with its messages. With two threads the next line
// is read while the caller writes the last one.
class InputLines {
public:
    InputLines(ZELType* file, int threads);
    ~InputLines();
    InputLines(const InputLines&) = delete;
    InputLines& operator=(const InputLines&) = delete;

    // Waits for the next line; the file's record holds it until release(). False at the end.
    bool next();
    // The caller has taken what it needs of the line.
    void release();

private:
    enum class Turn { reader, caller, done };

    void readLines();
    void give(Turn turn);
    void waitForReader();

    ZELType* file_;
    std::mutex mutex_;
    std::condition_variable changed_;
    Turn turn_ = Turn::reader;
    int pixels_ = 0;                       // what the read returned
    ZELDeferredType* deferred_ = nullptr;  // and what it has to say
    std::thread thread_;
};

}  // namespace zel_combine

#endif
