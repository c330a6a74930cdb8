// A record's slots by index, and the channels in them.
#ifndef ZEL_RECORDS_SLOT_HPP
#define ZEL_RECORDS_SLOT_HPP

#include <type_traits>
#include <utility>

#include "ground/zel_door.hpp"
#include "zel_types.h"

namespace zel {

// Any slot of the record, in use or not; ends the process (-1) for an index outside.
inline ZELChannelType& slotOf(ZELType* file, int slot, const char* function)
{
    if (slot < 0 || slot >= ZEL_MAX_CHANNELS)
        fail("%s: channel index %d out of range\n", function, slot);
    return file->Channels[slot];
}

// Whether a slot has blocks of its own, in use or not.
inline bool hasBlocks(const ZELChannelType& c)
{
    return c.Mask || c.TableList.NumTables != 0 || c.ChannelHistogram || c.ChannelStandardHistogram;
}

// A channel and the slot that it is in.
template <class Channel>
struct PresentChannel {
    int slot;
    Channel& channel;
};

// The channels of a file in the order of their slots.
template <class File>
class PresentChannels {
public:
    using Channel = std::remove_reference_t<decltype(std::declval<File&>().Channels[0])>;

    explicit PresentChannels(File& file) : file_(file) {}

    struct End {};
    class Iterator {
    public:
        explicit Iterator(File& file) : file_(file) { skipAbsent(); }
        PresentChannel<Channel> operator*() const { return {slot_, file_.Channels[slot_]}; }
        Iterator& operator++()
        {
            ++slot_;
            skipAbsent();
            return *this;
        }
        bool operator!=(End) const { return slot_ < file_.ZELHeader.MaxNumChan; }

    private:
        void skipAbsent()
        {
            while (*this != End{} && !file_.Channels[slot_].ChannelPresentFlag) ++slot_;
        }

        File& file_;
        int slot_ = 0;
    };
    Iterator begin() const { return Iterator(file_); }
    End end() const { return {}; }

private:
    File& file_;
};

// for (auto [slot, channel] : presentChannels(file)) ...
template <class File>
PresentChannels<File> presentChannels(File& file)
{
    return PresentChannels<File>(file);
}

}  // namespace zel

#endif
