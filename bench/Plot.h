// A picture of costs against distances, both on a logarithmic scale.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace mesk::bench {

/// Points of one line, all greater than 0.
struct Curve {
  std::string name;
  bool ours = false;  ///< drawn thicker
  std::vector<std::pair<double, double>> points;
};

/// A mark on an axis and what stands beside it.
struct Tick {
  double at;
  std::string text;
};

struct Axis {
  std::string title;
  std::vector<Tick> ticks;  ///< ascending; the first and the last are the ends of the axis
};

/// An SVG picture of the curves; each is named at its right end.
std::string drawn(const std::string& title, const Axis& x, const Axis& y, const std::vector<Curve>& curves);

}  // namespace mesk::bench
