// A histogram as SVG.
#include <algorithm>

#include "base/text.hpp"
#include "picture/charts.hpp"

namespace zel_tool {
namespace {

constexpr double width = 280.0;
constexpr double height = 84.0;
constexpr double top = 4.0;
constexpr double base = 66.0;  // where the area stands

class Chart {
public:
    explicit Chart(const Distribution& d)
        : d_(d), most_(*std::max_element(d.bins.begin(), d.bins.end()))
    {
    }

    double x(double value) const
    {
        return std::clamp((value - d_.low) / (d_.high() - d_.low), 0.0, 1.0) * width;
    }

    std::string area() const
    {
        std::string path = format("M0 %.1f", base);
        for (std::size_t i = 0; i < d_.bins.size(); ++i)
            path += format("V%.1fH%.1f", y(d_.bins[i]), edge(i + 1));
        return path + format("V%.1fZ", base);
    }

private:
    double edge(std::size_t bin) const
    {
        return static_cast<double>(bin) / static_cast<double>(d_.bins.size()) * width;
    }
    double y(long long count) const
    {
        const double part = static_cast<double>(count) / static_cast<double>(std::max(most_, 1LL));
        return base - part * (base - top);
    }

    const Distribution& d_;
    long long most_;
};

std::string label(double x, const char* anchor, double value)
{
    return format("<text x=\"%.0f\" y=\"%.0f\" text-anchor=\"%s\">%.5g</text>", x, height - 4.0,
                  anchor, value);
}

}  // namespace

std::string histogramSvg(const Distribution& d, Range stretch)
{
    if (d.bins.empty()) return {};
    const Chart chart(d);
    const double low = chart.x(static_cast<double>(stretch.low));
    const double high = chart.x(static_cast<double>(stretch.high));
    return format("<svg class=\"histogram\" viewBox=\"0 0 %.0f %.0f\" role=\"img\" "
                  "aria-label=\"Histogram from %.4g to %.4g\">",
                  width, height, d.least, d.most) +
           format("<rect class=\"stretch\" x=\"%.1f\" y=\"0\" width=\"%.1f\" height=\"%.0f\"/>",
                  low, std::max(high - low, 0.0), base) +
           "<path class=\"area\" d=\"" + chart.area() + "\"/>" +
           format("<path class=\"axis\" d=\"M0 %.1fH%.0f\"/>", base, width) +
           label(0.0, "start", d.least) + label(width, "end", d.most) + "</svg>\n";
}

}  // namespace zel_tool
