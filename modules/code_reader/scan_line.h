/// @file
/// The dark and light runs along a line of pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora::modules {

/// Where dark and light alternate along a line, in fractions of a pixel from its beginning.
///
/// Run i lies between the edges i and i + 1. The first edge leads from light to dark, so that even
/// runs are dark; a line that begins or ends dark has an edge at its border.
struct ScanLine {
  std::vector<float> edges;
  int length = 0;  ///< in pixels

  int RunCount() const { return edges.empty() ? 0 : static_cast<int>(edges.size()) - 1; }
  float Edge(int i) const { return edges[static_cast<std::size_t>(i)]; }
  float Run(int i) const { return Edge(i + 1) - Edge(i); }
  /// The width of some neighbouring runs together.
  float Runs(int first, int count) const { return Edge(first + count) - Edge(first); }
  /// Makes it the same line read from its other end.
  void Reverse();
};

/// Finds the edges of lines.
///
/// @threadsafety one thread at a time: it keeps its memory from line to line
class EdgeFinder {
 public:
  /// @param pixels   the first of @p count pixels, which are @p step bytes apart
  /// @param divisor  what is smaller than this part of the contrast nearby counts as noise: a small
  ///                 divisor reads noisy lines, a large one blurred lines
  void Find(const std::uint8_t* pixels, int count, std::ptrdiff_t step, int divisor,
            ScanLine& line);

 private:
  // A turn of the grey values, from falling to rising or back.
  struct Turn {
    int at;
    int value;
  };

  void FindTurns(const std::uint8_t* pixels, int count, std::ptrdiff_t step, int divisor);
  static float StepPosition(const std::uint8_t* pixels, std::ptrdiff_t step, const Turn& from,
                            const Turn& to, int fromLevel, int toLevel);

  std::vector<Turn> turns_;
};

}  // namespace velmora::modules
