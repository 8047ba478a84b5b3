// The rules by which outputs get their names.
#include "archive/run/Placement.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace tarn::archive
{
namespace
{

bool isSame(const Output& one, const Output& other)
{
  return one.bytes == other.bytes && one.sha256 == other.sha256;
}

/// The output is not written: its annotation lines are lost.
void loseOutput(Record& record, const Output& output, const char* code, const std::string& detail)
{
  std::uint64_t lost = 0;
  for (const auto& [kind, lines] : output.annotations)
  {
    record.annotations[kind].written -= lines;
    lost += lines;
  }
  record.reasons.push_back({code, detail, lost});
}

bool isConversion(Outcome outcome)
{
  return outcome == Outcome::converted || outcome == Outcome::partly || outcome == Outcome::nothing;
}

/// Whether `record` does not tell what stands in the input now: the input could not be read, ended its worker, or met
/// with trouble that is not its own. What `previous` wrote stays then, as it does where the same input was converted
/// before: a run with a wrong setting takes nothing away.
bool keepsEarlier(const Record& record, const Record& previous)
{
  const auto isNoFault = [](const Reason& reason)
  { return reason.code == "missing" || reason.code == "unreadable" || reason.code == "object-cache"; };
  if (isConversion(record.outcome))
    return false;
  return record.outcome == Outcome::crashed || record.outcome == Outcome::timeout ||
         std::any_of(record.reasons.begin(), record.reasons.end(), isNoFault) ||
         (record.size == previous.size && record.mtime == previous.mtime);
}

void carryOver(const Record& previous, Record& record)
{
  for (const Output& output : previous.outputs)
    if (!outputOf(record, output.file))
      record.outputs.push_back(output);
}

} // namespace

bool Placement::isDone(const std::string& input, const FileVersion& version) const
{
  const std::optional<Known> known = journal.find(input, version);
  if (!known || isOfThisRun(input, *known))
    return known.has_value();
  if (!known->sameVersion || again == Again::all)
    return false;
  return again == Again::changed || known->outcome == Outcome::converted || known->outcome == Outcome::nothing;
}

bool Placement::isOfThisRun(const std::string& input, const Known& known) const
{
  return known.thisRun && heirs.count(input) == 0;
}

/// The record of another input that owns the output, or would if this input did not.
std::optional<Record> Placement::otherHolder(const Record& record, const std::string& file) const
{
  std::optional<std::string> holder = journal.holderOf(file, Role::owner, record.input);
  if (!holder)
    holder = journal.holderOf(file, Role::duplicate, record.input);
  return holder ? journal.read(*holder) : std::nullopt;
}

std::vector<Placement::Step> Placement::plan(Record& record, const std::vector<std::string>& workFiles,
                                             const std::optional<Record>& previous)
{
  std::vector<Step> steps;
  std::vector<Output> kept;
  for (std::size_t i = 0; i < record.outputs.size(); ++i)
  {
    Output output = std::move(record.outputs[i]);
    const std::optional<Record> other = otherHolder(record, output.file);
    const Output* const taken = other ? outputOf(*other, output.file) : nullptr;
    if (taken && !isSame(*taken, output))
    {
      loseOutput(record, output, "name-taken", other->input);
      record.outcome = record.outcome == Outcome::converted ? Outcome::partly : record.outcome;
      unlink(workFiles.at(i).c_str());
      continue;
    }
    output.duplicate = taken && !taken->duplicate;
    const Output* const before = previous ? outputOf(*previous, output.file) : nullptr;
    const bool isThere = taken || (before && isSame(*before, output));
    if (isThere && store.holds(output, again == Again::all))
      unlink(workFiles.at(i).c_str());
    else
      steps.push_back({kept.size(), workFiles.at(i)});
    kept.push_back(std::move(output));
  }
  record.outputs = std::move(kept);
  return steps;
}

/// What `previous` wrote, and `record` does not write again.
Placement::LeftOver Placement::leftOver(const Record& record, const std::optional<Record>& previous) const
{
  LeftOver files;
  if (!previous)
    return files;
  for (const Output& output : previous->outputs)
    if (!output.duplicate && !outputOf(record, output.file))
      (otherHolder(record, output.file) ? files.inherited : files.stale).push_back(output.file);
  return files;
}

/// The input that has the output as a duplicate owns it from now on. No record of the former owner that still has the
/// output may follow.
void Placement::passOn(const Record& formerOwner, const std::string& file)
{
  std::optional<Record> heir = otherHolder(formerOwner, file);
  if (!heir)
    return;
  for (Output& output : heir->outputs)
    output.duplicate = output.duplicate && output.file != file;
  if (!journal.find(heir->input, {})->thisRun)
    heirs.insert(heir->input);
  journal.add(std::move(*heir));
}

/// A record that is never taken for done, since no file has its version. It keeps the outputs under the input's name.
void Placement::interrupt(Record previous)
{
  previous.size = 0;
  previous.mtime = "interrupted";
  previous.outcome = Outcome::crashed;
  previous.annotations.clear();
  previous.reasons = {{"interrupted", "", 0}};
  previous.messages.clear();
  journal.add(std::move(previous));
  commit();
}

void Placement::place(const std::vector<Step>& steps, Record& record)
{
  for (const Step& step : steps)
  {
    Output& output = record.outputs[step.output];
    const std::string problem = store.place(step.workFile, output.file, record.input);
    if (problem.empty())
      continue;
    loseOutput(record, output, "output-not-saved", output.file + ": " + problem);
    record.outcome = Outcome::failed;
    output.file.clear();
  }
  record.outputs.erase(std::remove_if(record.outputs.begin(), record.outputs.end(),
                                      [](const Output& output) { return output.file.empty(); }),
                       record.outputs.end());
}

std::optional<Outcome> Placement::accept(Record record, const std::vector<std::string>& workFiles)
{
  if (const auto known = journal.find(record.input, {}); known && isOfThisRun(record.input, *known))
  {
    for (const std::string& file : workFiles)
      unlink(file.c_str());
    return std::nullopt;
  }
  heirs.erase(record.input);
  const std::optional<Record> previous = journal.read(record.input);
  const std::vector<Step> steps = plan(record, workFiles, previous);
  if (previous && keepsEarlier(record, *previous))
    carryOver(*previous, record);
  const LeftOver files = leftOver(record, previous);
  if (previous && !previous->outputs.empty() && !(steps.empty() && files.stale.empty()))
    interrupt(*previous);
  place(steps, record);
  for (const std::string& file : files.stale)
    store.remove(file);
  for (const std::string& file : files.inherited)
    passOn(record, file);
  const Outcome outcome = record.outcome;
  journal.add(std::move(record));
  return outcome;
}

void Placement::commit()
{
  if (journal.pending() == 0)
    return;
  store.sync();
  journal.commit();
}

} // namespace tarn::archive
