// A picture of a scene: which channels, how, and what it comes to.
#pragma once

#include <string>
#include <vector>

#include "picture/image.hpp"
#include "picture/plane.hpp"
#include "scene/library.hpp"

namespace zel_tool {

enum class Style { rgb, mapped, classes };

struct Look {
    std::vector<std::string> rgb;  // three channels, or none
    std::string channel;           // one channel, or empty
    std::string map;               // of the one channel; empty for grey, or its LUT
    double low = 0.02;             // parts of the histogram that become black and white
    double high = 0.98;
    std::vector<double> range;  // two values instead
};

struct Choice {
    Style style;
    std::vector<int> slots;
};

struct Picture {
    Choice choice;
    std::vector<Plane> planes;
    std::vector<Range> ranges;  // of each plane; unused for classes
    Image image;
    const ZELDisplayLUTType* lut;  // of a class channel
};

// What a picture is made of: the channels that are named; else natural colours, where there are
// channels of such wavelengths; else the first channel.
struct Subject {
    ZELType* record;
    Choice choice;
};

Choice choiceIn(ZELType& record, const Look& look);

// The subject in a part of a container, or in all of it for -1. Channels that come from one part
// are taken on its own grid: the view would have averaged or repeated them, classes too. Throws
// Failure.
Subject subjectOf(Scene& scene, int part, const Look& look);

// What each channel of the choice is read as.
std::vector<Wanted> wantedOf(const Choice& choice);

// The picture of planes that were read for the choice of the subject; or that of the subject.
Picture painted(const Subject& subject, const Look& look, std::vector<Plane> planes);
Picture picture(const Subject& subject, const Look& look, Size size, const std::string& file);

// Its channels, and what they are stretched between.
std::string captionOf(const Picture& picture, const ZELType& record);

}  // namespace zel_tool
