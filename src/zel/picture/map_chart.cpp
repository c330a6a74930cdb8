// A map of footprints as SVG.
#include <algorithm>
#include <cmath>
#include <functional>

#include "base/text.hpp"
#include "picture/charts.hpp"
#include "picture/html.hpp"

namespace zel_tool {
namespace {

constexpr double degreesPerRadian = 57.29577951308232;
constexpr double kilometresPerDegree = 111.195;  // along a great circle
constexpr double width = 640.0;                  // of the drawing
constexpr double left = 78.0;                    // of the frame, beside the latitudes
constexpr double right = 8.0;
constexpr double top = 8.0;
constexpr double bottom = 26.0;
constexpr int samples = 48;          // of a line of the grid
constexpr double beyondFrame = 1.2;  // lines of the grid cross the edges

struct Point {
    double x, y;
};

// Every position at its true distance and direction from the middle, in degrees: no date line, no
// pole.
class Projection {
public:
    explicit Projection(const Position& middle)
        : lon_(middle.lon),
          sin_(std::sin(middle.lat / degreesPerRadian)),
          cos_(std::cos(middle.lat / degreesPerRadian))
    {
    }

    Point operator()(const Position& p) const
    {
        const double sinLat = std::sin(p.lat / degreesPerRadian);
        const double cosLat = std::cos(p.lat / degreesPerRadian);
        const double lon = (p.lon - lon_) / degreesPerRadian;
        const Point toward{cosLat * std::sin(lon), cos_ * sinLat - sin_ * cosLat * std::cos(lon)};
        const double sine = std::hypot(toward.x, toward.y);
        const double angle = std::atan2(sine, sin_ * sinLat + cos_ * cosLat * std::cos(lon));
        const double stretch = (sine > 1.0e-12 ? angle / sine : 1.0) * degreesPerRadian;
        return {toward.x * stretch, toward.y * stretch};
    }

private:
    double lon_, sin_, cos_;
};

// What the map shows of the projected plane, and where that is in the drawing.
struct Frame {
    Point low{0.0, 0.0};
    Point high{0.0, 0.0};

    double scale() const { return (width - left - right) / (high.x - low.x); }
    double height() const { return (high.y - low.y) * scale(); }
    Point operator()(const Point& p) const
    {
        return {left + (p.x - low.x) * scale(), top + (high.y - p.y) * scale()};
    }
};

Frame frameAround(const std::vector<Ground>& grounds, const Projection& project)
{
    constexpr double smallest = 0.001;
    constexpr double flattest = 0.45;
    Frame f;
    for (const Ground& ground : grounds)
        for (const Position& position : ground.survey.footprint->outline) {
            const Point p = project(position);
            f.low = {std::min(f.low.x, p.x), std::min(f.low.y, p.y)};
            f.high = {std::max(f.high.x, p.x), std::max(f.high.y, p.y)};
        }
    const double size = std::max({f.high.x - f.low.x, f.high.y - f.low.y, smallest});
    const auto widen = [&](double& low, double& high, double least) {
        const double more = std::max(0.18 * size, (least - (high - low)) / 2.0);
        low -= more;
        high += more;
    };
    widen(f.low.x, f.high.x, 1.36 * size);
    widen(f.low.y, f.high.y, flattest * 1.36 * size);
    return f;
}

double roundStep(double wanted)
{
    for (const double step :
         {0.0005, 0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 15.0})
        if (step >= wanted) return step;
    return 30.0;
}

using Line = std::vector<Point>;

std::string pathOf(const Line& line)
{
    std::string path;
    for (const Point& p : line) path += format("%s%.1f %.1f", path.empty() ? "M" : "L", p.x, p.y);
    return path;
}

std::string degreesText(double value, double step, const char* signs)
{
    const int digits = step >= 1.0 ? 0 : step >= 0.1 ? 1 : step >= 0.01 ? 2 : step >= 0.001 ? 3 : 4;
    const std::string text = format("%.*f\u00B0", digits, std::fabs(value));
    const double size = std::fabs(value);
    return size < step / 2.0 || size > 180.0 - step / 2.0
               ? text
               : text + " " + (value < 0.0 ? signs[1] : signs[0]);
}

std::string textAt(Point p, const char* anchor, const std::string& text)
{
    return format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">", p.x, p.y, anchor) + text +
           "</text>";
}

// The grid of a map, and its labels where a meridian meets the lower edge and a parallel the left
// one.
class Grid {
public:
    Grid(const Projection& project, const Frame& frame, const Position& middle)
        : project_(project), frame_(frame), middle_(middle)
    {
        const double reach =
            beyondFrame * std::max({-frame.low.x, frame.high.x, -frame.low.y, frame.high.y});
        const double nearPole = std::min(std::fabs(middle.lat) + reach, 90.0);
        latReach_ = reach;
        lonReach_ =
            std::min(180.0, reach / std::max(std::cos(nearPole / degreesPerRadian), reach / 180.0));
        latStep_ = roundStep((frame.high.y - frame.low.y) / 5.0);
        lonStep_ = roundStep(2.0 * lonReach_ / 7.0);
    }

    std::string lines()
    {
        const double bottomEdge = top + frame_.height();
        const Steps lons(middle_.lon - lonReach_, middle_.lon + lonReach_, lonStep_);
        for (int i = lons.first; i <= lons.last; ++i) addMeridian(i * lonStep_, bottomEdge);
        const Steps lats(std::max(middle_.lat - latReach_, -89.9),
                         std::min(middle_.lat + latReach_, 89.9), latStep_);
        for (int i = lats.first; i <= lats.last; ++i) addParallel(i * latStep_);
        return "<path class=\"grid\" d=\"" + paths_ + "\"/>";
    }

    const std::string& labels() const { return labels_; }

private:
    // Whole numbers of steps between two angles.
    struct Steps {
        int first, last;
        Steps(double low, double high, double step)
            : first(static_cast<int>(std::ceil(low / step))),
              last(static_cast<int>(std::floor(high / step)))
        {
        }
    };

    Line lineOf(const std::function<Position(double)>& at) const
    {
        Line line;
        line.reserve(samples + 1);
        for (int i = 0; i <= samples; ++i)
            line.push_back(frame_(project_(at(2.0 * i / samples - 1.0))));
        return line;
    }

    void addMeridian(double lon, double bottomEdge)
    {
        const Line line = lineOf([&](double part) {
            return Position{std::clamp(middle_.lat + part * latReach_, -90.0, 90.0), lon};
        });
        paths_ += pathOf(line);
        for (std::size_t i = 1; i < line.size(); ++i) {
            const Point& a = line[i - 1];
            const Point& b = line[i];
            if ((a.y < bottomEdge) == (b.y < bottomEdge)) continue;
            const double x = a.x + (b.x - a.x) * (bottomEdge - a.y) / (b.y - a.y);
            if (x < left + 10.0 || x > width - right - 10.0) continue;
            labels_ += textAt({x, bottomEdge + 16.0}, "middle",
                              degreesText(std::remainder(lon, 360.0), lonStep_, "EW"));
            return;
        }
    }

    void addParallel(double lat)
    {
        const Line line = lineOf([&](double part) {
            return Position{lat, middle_.lon + part * lonReach_};
        });
        paths_ += pathOf(line);
        for (std::size_t i = 1; i < line.size(); ++i) {
            const Point& a = line[i - 1];
            const Point& b = line[i];
            if ((a.x < left) == (b.x < left)) continue;
            const double y = a.y + (b.y - a.y) * (left - a.x) / (b.x - a.x);
            if (y < top + 6.0 || y > top + frame_.height() - 4.0) continue;
            labels_ += textAt({left - 6.0, y + 4.0}, "end", degreesText(lat, latStep_, "NS"));
            return;
        }
    }

    const Projection& project_;
    const Frame& frame_;
    Position middle_;
    double latReach_, lonReach_, latStep_, lonStep_;
    std::string paths_, labels_;
};

std::string scaleBar(const Frame& frame)
{
    const double wanted = (frame.high.x - frame.low.x) / 4.0 * kilometresPerDegree;
    const double power = std::pow(10.0, std::floor(std::log10(wanted)));
    const double length = power * (wanted / power >= 5.0 ? 5.0 : wanted / power >= 2.0 ? 2.0 : 1.0);
    const double pixels = length / kilometresPerDegree * frame.scale();
    const double x = width - right - 14.0;
    const double y = top + frame.height() - 12.0;
    return format("<path class=\"scale\" d=\"M%.1f %.1fv5h%.1fv-5\"/>", x - pixels, y - 5.0,
                  pixels) +
           textAt({x - pixels / 2.0, y - 6.0}, "middle", format("%g km", length));
}

Line drawn(const std::vector<Position>& positions, const Projection& project, const Frame& frame)
{
    Line line;
    line.reserve(positions.size());
    for (const Position& p : positions) line.push_back(frame(project(p)));
    return line;
}

std::string shapes(const std::vector<Ground>& grounds, const Projection& project,
                   const Frame& frame)
{
    std::string out;
    for (const Ground& g : grounds)
        out += std::string("<path class=\"") + (out.empty() ? "outline base" : "outline") +
               "\" d=\"" + pathOf(drawn(g.survey.footprint->outline, project, frame)) +
               "Z\"><title>" + html(g.name) + "</title></path>";
    const Survey& base = grounds.front().survey;
    if (base.track.size() > 1)
        out += "<path class=\"track\" marker-end=\"url(#arrow)\" d=\"" +
               pathOf(drawn(base.track, project, frame)) + "\"/>";
    const Point start = frame(project(base.footprint->outline.front()));
    return out +
           format("<circle class=\"start\" cx=\"%.1f\" cy=\"%.1f\" r=\"4\"/>", start.x, start.y);
}

}  // namespace

std::string mapSvg(const std::vector<Ground>& all)
{
    std::vector<Ground> grounds;
    std::copy_if(all.begin(), all.end(), std::back_inserter(grounds),
                 [](const Ground& ground) { return ground.survey.footprint.has_value(); });
    if (grounds.empty()) return {};
    const Footprint& first = *grounds.front().survey.footprint;
    const Position middle = isValid(first.center) ? first.center : first.outline.front();
    const Projection project(middle);
    const Frame frame = frameAround(grounds, project);
    Grid grid(project, frame, middle);
    const std::string lines = grid.lines();
    const std::string area = format("x=\"%.0f\" y=\"%.0f\" width=\"%.1f\" height=\"%.1f\"", left,
                                    top, width - left - right, frame.height());
    return format("<svg class=\"map\" viewBox=\"0 0 %.0f %.0f\" role=\"img\" "
                  "aria-label=\"Footprint and ground track\">",
                  width, frame.height() + top + bottom) +
           "<defs><clipPath id=\"frame\"><rect " + area +
           "/></clipPath><marker id=\"arrow\" viewBox=\"0 0 8 8\" refX=\"7\" refY=\"4\" "
           "markerWidth=\"8\" markerHeight=\"8\" orient=\"auto\"><path class=\"head\" "
           "d=\"M0 0L8 4L0 8Z\"/></marker></defs><g clip-path=\"url(#frame)\">" +
           lines + shapes(grounds, project, frame) + scaleBar(frame) +
           "</g><rect class=\"frame\" " + area + "/>" + grid.labels() + "</svg>\n";
}

}  // namespace zel_tool
