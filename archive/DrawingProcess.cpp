// The process that draws.
#include "archive/DrawingProcess.h"

#include "picture/Refusal.h"

#include <optional>

namespace tarn::archive
{
namespace
{

constexpr char kOrder = 'o';     ///< state, NUL, file
constexpr char kAnswer = 'a';    ///< nothing, or why there is no picture
constexpr int kLongest = 300000; ///< milliseconds
constexpr std::uint64_t kMemory = std::uint64_t{4} << 30U;

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

std::string DrawingProcess::draw(const std::string& from, const std::string& file)
{
  if (!worker)
    worker = std::make_unique<Worker>(
        state, kMemory, [] {}, [this](WorkerSide& run) { serve(run); });
  worker->send({0, kOrder, from + '\0' + file});
  worker->flush();
  Heard heard = Heard::something;
  while (heard == Heard::something)
    if (const std::optional<Frame> frame = worker->next())
    {
      worker->dropAll();
      return frame->text;
    }
    else
      heard = worker->receiveWithin(kLongest);
  worker.reset();
  return heard == Heard::end ? "crashed: the process that draws died of it"
                             : "timeout: it takes more than five minutes";
}

void DrawingProcess::serve(WorkerSide& run) const
{
  Draw draw;
  const std::string trouble = reasonOf([&] { draw = make(); });
  while (const std::optional<Job> job = run.next())
  {
    const std::size_t nul = job->path.find('\0');
    run.tell(kAnswer, draw ? reasonOf([&] { draw(job->path.substr(0, nul), job->path.substr(nul + 1)); }) : trouble);
  }
}

} // namespace tarn::archive
