#pragma once

// The drawings of times. Free functions on numbers.

#include <QString>

#include <cstddef>
#include <utility>
#include <vector>

namespace report
{

/// An axis of seconds: logarithmic, over whole powers of ten.
struct axis_t {
    int least = -2; ///< the power of ten at its begin
    int most = 0;   ///< and at its end

    /// Where some seconds lie: 0 at the begin, 1 at the end. What lies outside is drawn there.
    double place(double seconds) const;
};

/// The axis for times from `least` to `most`: from a hundredth of a second on at the latest, and
/// not below a thousandth.
axis_t axisOf(double least, double most);

/// A driver's line in the plot: its name as it is shown, and the seconds of what it has solved,
/// the fastest first.
struct line_t {
    QString name;
    std::vector<double> seconds;
};

/// How many goals each driver has solved after which time.
QString quantilePlot(const std::vector<line_t>& lines, const axis_t& axis);

/// The times of two drivers on the same goals.
struct cloud_t {
    QString across; ///< the driver whose time grows to the right, as it is shown
    QString up;
    std::vector<std::pair<double, double>> both; ///< goals that both have solved
    std::vector<std::pair<double, double>> one;  ///< goals that one of them has solved
    std::vector<std::pair<double, double>> none;
};

/// Points that fall together are drawn once.
QString scatterPlot(const cloud_t& cloud, const axis_t& axis);

/// The class of a driver's line: there are eight colours, and four kinds of dashes.
QString lineClass(std::size_t number);

} // namespace report
