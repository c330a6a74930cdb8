// The tables from raw number to value of scaled channels.
#ifndef ZEL_RECORDS_SCALING_TABLE_HPP
#define ZEL_RECORDS_SCALING_TABLE_HPP

#include "zel_types.h"

namespace zel {

// Whether a file that is opened for reading gets its tables. Lines are decoded without them just as
// well.
enum class Tables { build, leaveOut };

// From the raw numbers of a scaled channel to its values.
class Scale {
public:
    explicit Scale(const ZELChannelType& channel);
    float value(int raw) const { return static_cast<float>(raw * step_ + min_); }

private:
    double step_;
    double min_;
};

// The steps between the two ends of a scaled channel's range: 255 or 65535.
double stepsOf(int storageCode);

// Fills in the value of every raw number of a scaled channel, float[256] or float[65536], and
// returns how many these are: 0 for a channel that is not scaled.
int fillScalingTable(const ZELChannelType& channel, float* table);

// Memory with these values; null for a channel that is not scaled. Ends the process (-1) when
// memory fails.
float* createScalingTable(const ZELChannelType& channel);

// Frees the channel's table, if it has one, and forgets it.
void releaseScalingTable(ZELChannelType& channel);

// Frees the memory that is kept for tables to come. For tests in which memory fails.
void dropKeptTables();

}  // namespace zel

#endif
