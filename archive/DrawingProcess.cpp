// The process that draws.
#include "archive/DrawingProcess.h"

#include "picture/Refusal.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr char kOrder = 'o';     ///< state, NUL, file
constexpr char kAnswer = 'a';    ///< nothing, or why there is no picture
constexpr int kLongest = 300000; ///< milliseconds

/// What an action ends with: nothing, or "CODE: reason".
template <class Action>
std::string reasonOf(Action action)
{
  try
  {
    action();
    return "";
  }
  catch (const picture::Refusal& refusal)
  {
    return refusal.code + ": " + refusal.what();
  }
  catch (const std::exception& failure)
  {
    return std::string("crashed: ") + failure.what();
  }
}

} // namespace

std::string DrawingProcess::draw(const std::string& state, const std::string& file)
{
  if (child == 0)
    begin();
  if (writeFrame(orders, kOrder, state + '\0' + file))
    return answer();
  end();
  return "crashed: the process that draws has gone";
}

void DrawingProcess::begin()
{
  Pipe toChild;
  Pipe fromChild;
  const pid_t parent = getpid();
  child = fork();
  if (child < 0)
    throw std::system_error(errno, std::generic_category(), "a process that draws");
  if (child == 0)
  {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    toChild.writeEnd = base::Fd();
    FrameReader reader(std::move(toChild.readEnd));
    if (getppid() == parent)
      serve(reader, fromChild.writeEnd);
    _exit(0);
  }
  orders = std::move(toChild.writeEnd);
  answers.emplace(std::move(fromChild.readEnd));
}

void DrawingProcess::serve(FrameReader& reader, const base::Fd& out) const
{
  Draw draw;
  const std::string trouble = reasonOf([&] { draw = make(); });
  while (reader.receive())
    while (const std::optional<Frame> frame = reader.next())
    {
      const std::size_t nul = frame->text.find('\0');
      const std::string reason =
          draw ? reasonOf([&] { draw(frame->text.substr(0, nul), frame->text.substr(nul + 1)); }) : trouble;
      if (!writeFrame(out, kAnswer, reason))
        return;
    }
}

std::string DrawingProcess::answer()
{
  pollfd waiting{answers->fd().get(), POLLIN, 0};
  while (!answers->hasNext())
  {
    const int ready = poll(&waiting, 1, kLongest);
    if (ready < 0 && errno == EINTR)
      continue;
    if (ready > 0 && answers->receive())
      continue;
    end();
    return ready > 0 ? "crashed: the process that draws died of it" : "timeout: it takes more than five minutes";
  }
  return answers->next()->text;
}

void DrawingProcess::end()
{
  if (child == 0)
    return;
  orders = base::Fd();
  answers.reset();
  kill(child, SIGKILL); // it has nothing to keep
  waitpid(child, nullptr, 0);
  child = 0;
}

} // namespace tarn::archive
