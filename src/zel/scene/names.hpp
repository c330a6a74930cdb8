// Names: of codes in a file, and of its channels.
#pragma once

#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

std::string unitsName(int code);
std::string unitsSymbol(int code);  // for beside a number: "K", "%"; often empty
std::string sensorName(int code);
std::string storageName(int code);

bool isScaled(int storageCode);

std::string labelOf(const ZELChannelType& channel);

// The slots that hold a channel.
std::vector<int> presentSlots(const ZELType& record);

// The slots that a name fits: none, one, or several that have the same label.
std::vector<int> slotsNamed(const ZELType& record, const std::string& name);

// The slot of a channel named by its label (B5), its number in expressions (Ch6, the channel in
// slot 5) or its slot (#5). Throws Failure when there is none or several, with the candidates.
int findChannel(const ZELType& record, const std::string& name);

// The same for "B4,B3,B2", several times over; every present channel when names is empty.
std::vector<int> findChannels(const ZELType& record, const std::vector<std::string>& names);

// The LUT that a class channel is painted with, the one whose label is the channel's comment; or
// null.
const ZELDisplayLUTType* lutOf(ZELType& record, int slot);

// Whether the numbers of a channel are those of classes: the mean of two is another class.
bool holdsClasses(ZELType& record, int slot);

// The name of a class in a LUT; empty where there is none.
std::string className(const ZELDisplayLUTType* lut, double value);

}  // namespace zel_tool
