#include "initialcloud.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Vorta {

namespace {

using Vector = std::array<double, 3>;

struct Rgb {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

constexpr double halfTable = 200.0;
constexpr int linesPerSide = 20;
constexpr int linesPerHeavyLine = 5;
constexpr double axisLength = 70.0;
constexpr Vector middle{0.0, 0.0, 700.0};
/// The table rises away from the camera by 55 degrees against the line of sight.
constexpr double cosTilt = 0.5735764363510461;
constexpr double sinTilt = 0.8191520442889918;

constexpr Rgb fineColor{78, 84, 94};
constexpr Rgb heavyColor{128, 136, 150};
constexpr Rgb xColor{226, 82, 74};
constexpr Rgb yColor{98, 190, 88};
constexpr Rgb zColor{82, 140, 240};

void addLine(std::vector<Point>& points, const Vector& from, const Vector& to, const Rgb& color) {
    const double length = std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
    const int steps = static_cast<int>(std::ceil(length / initialCloudSpacing));
    for (int i = 0; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        Point point;
        point.x = static_cast<float>(std::lerp(from[0], to[0], t));
        point.y = static_cast<float>(std::lerp(from[1], to[1], t));
        point.z = static_cast<float>(std::lerp(from[2], to[2], t));
        point.red = color.red;
        point.green = color.green;
        point.blue = color.blue;
        points.push_back(point);
    }
}

/// u runs to the right along the table, v away from the camera.
Vector onTable(double u, double v) {
    return {middle[0] + u, middle[1] - cosTilt * v, middle[2] + sinTilt * v};
}

/// Several lines close beside each other.
void addBar(std::vector<Point>& points, const Vector& direction, const Rgb& color) {
    // At the table's near left corner, where the axis that points away is not seen end on.
    const Vector from = onTable(-halfTable, -halfTable);
    const Vector to{from[0] + axisLength * direction[0], from[1] + axisLength * direction[1],
                    from[2] + axisLength * direction[2]};
    for (int i = -2; i <= 2; ++i) {
        for (int j = -2; j <= 2; ++j) {
            // Shifts across the bar, whichever axis it follows.
            const double a = i * initialCloudSpacing;
            const double b = j * initialCloudSpacing;
            const Vector shift{direction[0] != 0.0 ? 0.0 : a, direction[1] != 0.0 ? 0.0 : (direction[0] != 0.0 ? a : b),
                               direction[2] != 0.0 ? 0.0 : b};
            addLine(points, {from[0] + shift[0], from[1] + shift[1], from[2] + shift[2]},
                    {to[0] + shift[0], to[1] + shift[1], to[2] + shift[2]}, color);
        }
    }
}

} // namespace

std::vector<Point> makeInitialCloud() {
    std::vector<Point> points;
    for (int line = 0; line <= linesPerSide; ++line) {
        const double at = halfTable * (2.0 * line / linesPerSide - 1.0);
        const Rgb& color = line % linesPerHeavyLine == 0 ? heavyColor : fineColor;
        addLine(points, onTable(at, -halfTable), onTable(at, halfTable), color);
        addLine(points, onTable(-halfTable, at), onTable(halfTable, at), color);
    }
    addBar(points, {1.0, 0.0, 0.0}, xColor);
    addBar(points, {0.0, 1.0, 0.0}, yColor);
    addBar(points, {0.0, 0.0, 1.0}, zColor);
    return points;
}

} // namespace Vorta
