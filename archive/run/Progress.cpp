// The bar of a run, or its lines.
#include "archive/run/Progress.h"

#include "archive/run/clock.h"
#include "base/Console.h"
#include "base/report.h"

#include <cstdio>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr std::int64_t kSecond = 1'000'000'000; ///< nanoseconds
constexpr std::int64_t kBarInterval = kSecond / 5;
constexpr std::int64_t kLineInterval = 10 * kSecond;
constexpr std::size_t kUsualWidth = 80;
constexpr std::size_t kBarWidth = 20;

std::size_t terminalWidth()
{
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualWidth;
}

std::string barOf(std::uint64_t part, std::uint64_t whole)
{
  const std::size_t full = whole == 0 ? 0 : static_cast<std::size_t>(kBarWidth * std::min(part, whole) / whole);
  return "[" + std::string(full, '#') + std::string(kBarWidth - full, '.') + "] ";
}

} // namespace

std::string inHours(std::int64_t seconds)
{
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  return text.data();
}

Progress::Progress(Form form) : form(form), start(steadyNow()), last(start) {}

Progress::~Progress()
{
  clear();
}

void Progress::clear()
{
  if (drawn)
    consoleError() << "\r\033[K" << std::flush;
  drawn = false;
}

std::string Progress::describe(const RunTotals& totals, std::int64_t now)
{
  const double seconds = static_cast<double>(now - start) / static_cast<double>(kSecond);
  const double rate = seconds > 0 ? static_cast<double>(totals.seen()) / seconds : 0;
  std::ostringstream text;
  text << totals.seen();
  if (totals.expected > 0)
    text << " of " << totals.expected;
  text << " seen, " << static_cast<std::uint64_t>(rate) << "/s";
  if (totals.expected > totals.seen() && rate > 0)
    text << ", " << inHours(static_cast<std::int64_t>(static_cast<double>(totals.expected - totals.seen()) / rate))
         << " left";
  text << ':';
  for (std::size_t i = 0; i < kOutcomes; ++i)
    if (totals.outcomes.at(i) > 0)
      text << ' ' << totals.outcomes.at(i) << ' ' << nameOf(static_cast<Outcome>(i));
  if (totals.known > 0)
    text << ' ' << totals.known << " done before";
  if (totals.passed > 0)
    text << ' ' << totals.passed << " passed over";
  return text.str();
}

void Progress::show(const RunTotals& totals)
{
  const std::int64_t now = steadyNow();
  if (form == Form::none || now - last < (form == Form::bar ? kBarInterval : kLineInterval))
    return;
  last = now;
  if (form == Form::lines)
    return base::report(describe(totals, now));
  const std::size_t room = terminalWidth() - 1;
  std::string text = describe(totals, now);
  if (const std::string bar = barOf(totals.seen(), totals.expected);
      totals.expected > 0 && bar.size() + text.size() <= room) // the numbers say more
    text = bar + text;
  consoleError() << '\r' << text.substr(0, room) << "\033[K" << std::flush;
  drawn = true;
}

void Progress::line(const std::string& text)
{
  clear();
  base::report(text);
}

} // namespace tarn::archive
