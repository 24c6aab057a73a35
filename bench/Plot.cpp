#include "Plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace mesk::bench {
namespace {

constexpr double kLeft = 80;
constexpr double kRight = 640;
constexpr double kTop = 50;
constexpr double kBottom = 430;
constexpr double kLabelHeight = 15;

constexpr std::array<const char*, 8> kColours = {"#c0392b", "#2c3e50", "#e67e22", "#8e44ad",
                                                 "#27ae60", "#16a085", "#7f8c8d", "#2980b9"};

/// Where on an axis from `first` to `last` of the picture a value stands.
double placed(const Axis& axis, double value, double first, double last) {
  const double low = std::log(axis.ticks.front().at);
  const double high = std::log(axis.ticks.back().at);
  return first + (std::log(value) - low) / (high - low) * (last - first);
}

struct Label {
  double y;
  std::string text;
  const char* colour;
};

/// Moves labels apart that would stand on one another, upwards from the lowest.
void spread(std::vector<Label>& labels) {
  std::sort(labels.begin(), labels.end(), [](const Label& a, const Label& b) { return a.y > b.y; });
  for (std::size_t i = 1; i < labels.size(); ++i) labels[i].y = std::min(labels[i].y, labels[i - 1].y - kLabelHeight);
}

}  // namespace

std::string drawn(const std::string& title, const Axis& x, const Axis& y, const std::vector<Curve>& curves) {
  std::string out = fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 840 490\" font-family=\"sans-serif\" font-size=\"12\">\n"
      "<rect width=\"840\" height=\"490\" fill=\"white\"/>\n"
      "<text x=\"{}\" y=\"28\" font-size=\"16\">{}</text>\n",
      kLeft, title);
  for (const Tick& tick : x.ticks) {
    const double at = placed(x, tick.at, kLeft, kRight);
    out += fmt::format(
        "<line x1=\"{0:.1f}\" y1=\"{1}\" x2=\"{0:.1f}\" y2=\"{2}\" stroke=\"#ddd\"/>"
        "<text x=\"{0:.1f}\" y=\"{3}\" text-anchor=\"middle\">{4}</text>\n",
        at, kTop, kBottom, kBottom + 18, tick.text);
  }
  for (const Tick& tick : y.ticks) {
    const double at = placed(y, tick.at, kBottom, kTop);
    out += fmt::format(
        "<line x1=\"{0}\" y1=\"{2:.1f}\" x2=\"{1}\" y2=\"{2:.1f}\" stroke=\"#ddd\"/>"
        "<text x=\"{3}\" y=\"{4:.1f}\" text-anchor=\"end\">{5}</text>\n",
        kLeft, kRight, at, kLeft - 6, at + 4, tick.text);
  }
  out += fmt::format("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", (kLeft + kRight) / 2, kBottom + 42,
                     x.title);
  out += fmt::format("<text transform=\"translate(20 {}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n",
                     (kTop + kBottom) / 2, y.title);

  std::vector<Label> labels;
  for (std::size_t i = 0; i < curves.size(); ++i) {
    const Curve& curve = curves[i];
    if (curve.points.empty()) continue;
    const char* const colour = kColours[i % kColours.size()];
    std::string points;
    for (const auto& [distance, cost] : curve.points) {
      points += fmt::format("{:.1f},{:.1f} ", placed(x, distance, kLeft, kRight), placed(y, cost, kBottom, kTop));
    }
    out += fmt::format("<polyline points=\"{}\" fill=\"none\" stroke=\"{}\" stroke-width=\"{}\"/>\n", points, colour,
                       curve.ours ? 3 : 1.5);
    labels.push_back({placed(y, curve.points.back().second, kBottom, kTop) + 4, curve.name, colour});
  }
  spread(labels);
  for (const Label& label : labels) {
    out += fmt::format("<text x=\"{}\" y=\"{:.1f}\" fill=\"{}\">{}</text>\n", kRight + 8, label.y, label.colour,
                       label.text);
  }
  return out + "</svg>\n";
}

}  // namespace mesk::bench
