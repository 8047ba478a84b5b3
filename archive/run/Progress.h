#pragma once

#include "archive/run/RunTotals.h"

#include <cstdint>
#include <string>

namespace tarn::archive
{

/// What a person sees of a run that goes on, on standard error.
class Progress
{
public:
  enum class Form
  {
    bar,   ///< one line, drawn in place
    lines, ///< a line every ten seconds
    none
  };

  explicit Progress(Form form);
  /// Empties the line of the bar.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows the state when it is time to. To be called often.
  void show(const RunTotals& totals);
  /// A message of its own, which stays.
  void line(const std::string& text);

private:
  std::string describe(const RunTotals& totals, std::int64_t now);
  void clear();

  Form form;
  std::int64_t start;
  std::int64_t last; ///< when it was shown
  bool drawn = false;
};

/// "1:02:03"
std::string inHours(std::int64_t seconds);

} // namespace tarn::archive
