// A progress bar that is drawn in place.
#include "tools/Progress.h"

#include "base/Console.h"

#include <iostream>
#include <string>

#include <unistd.h>

namespace tarn::tools
{

Progress::Progress(std::size_t total, bool shown) : total(total), shown(shown && total > 0)

{
  if (this->shown)
    draw();
}

void Progress::step()
{
  ++done;
  const std::size_t percent = shown ? done * 100 / total : 0;
  if (percent == drawnPercent)
    return;
  drawnPercent = percent;
  draw();
}

void Progress::draw() const
{
  constexpr std::size_t kWidth = 40;
  std::string bar(drawnPercent * kWidth / 100, '#');
  bar.resize(kWidth, '.');
  consoleError() << "\r[" << bar << "] " << done << '/' << total << " files" << std::flush;
}

void Progress::clear()
{
  if (shown)
    consoleError() << "\r\033[K" << std::flush;
}

bool Progress::isSeen()
{
  return &consoleError() == &std::cerr && isatty(STDERR_FILENO) == 1;
}

} // namespace tarn::tools
