// The lines of the view, read ahead of those that are written when there is a thread for it.
#ifndef ZEL_COMBINE_INPUT_LINES_HPP
#define ZEL_COMBINE_INPUT_LINES_HPP

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "zel.h"

namespace zel_combine {

// How many threads the user allows: ZEL_NUM_THREADS, 1 where it is not set or is no number from 1
// on.
int numThreads();

// Reads lines with ZELReadLine, in its order and with its messages. With two threads the other one
// reads the averaged components of the next line, which take longest, while the caller writes the
// last one and reads the rest. Where nothing is averaged it reads all.
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

    // What one component has in a line, or all of the line of a file that is no view.
    struct Share {
        int component;
        bool isAhead;                         // read by the other thread
        int pixels = 0;                       // what the read returned
        ZELDeferredType* deferred = nullptr;  // and what it has to say
    };

    bool isView() const { return file_->numZELComponents > 1 && file_->ZELComponent; }
    void divide();
    int read(const Share& share) const;
    void readAhead();
    void give(Turn turn);
    void waitWhile(Turn turn);
    bool take(Share& share);

    ZELType* file_;
    std::vector<Share> shares_;  // in the order in which one thread reads them
    std::mutex mutex_;
    std::condition_variable changed_;
    std::atomic<Turn> turn_ = Turn::reader;
    std::thread thread_;
};

}  // namespace zel_combine

#endif
