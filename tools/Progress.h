#pragma once

#include <cstddef>

namespace tarn::tools
{

/// A bar of what is done, on consoleError(), drawn in place at most a hundred times. The line is empty again when it is
/// destroyed.
class Progress
{
public:
  /// `shown` false draws nothing.
  Progress(std::size_t total, bool shown);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// One more is done.
  void step();
  /// Empties the line, so that another can be written; the next change draws the bar again.
  void clear();

  /// Whether somebody sees it: standard error is a terminal, and consoleError() is standard error.
  static bool isSeen();

private:
  void draw() const;

  std::size_t total;
  std::size_t done = 0;
  std::size_t drawnPercent = 0;
  bool shown;
};

} // namespace tarn::tools
