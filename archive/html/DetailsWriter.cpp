#include "archive/html/DetailsWriter.h"

#include "archive/html/DetailsMaker.h"
#include "archive/html/scriptText.h"
#include "archive/run/packing.h"
#include "base/text.h"

#include <optional>
#include <utility>

namespace tarn::archive
{
namespace
{

constexpr char kPicture = 'p';
constexpr char kDetails = 'd';    ///< and with them all of an input
constexpr int kPatience = 60'000; ///< milliseconds for a picture
constexpr std::uint64_t kMemory = std::uint64_t{4} << 30U;

} // namespace

DetailsWriter::DetailsWriter(ReportFolder& folder, const Anonymity& anonymity, std::string out,
                             std::string imagesFolder)
  : folder(folder), anonymity(anonymity), out(std::move(out)), imagesFolder(std::move(imagesFolder))
{
}

/// In the worker: a job is the number of the next picture and a record.
void DetailsWriter::make(WorkerSide& run) const
{
  DetailsMaker maker(anonymity, out, imagesFolder);
  while (const std::optional<Job> job = run.next())
  {
    const std::size_t end = job->path.find('\n');
    const Json details = maker.make(unpackedRecord(job->path.substr(end + 1)), std::stoull(job->path.substr(0, end)),
                                    [&run](const std::string& svg) { run.tell(kPicture, svg); });
    run.tell(kDetails, details.dump());
  }
}

void DetailsWriter::write(std::uint64_t row, const Record& record)
{
  const std::uint64_t before = nextPicture;
  const std::optional<std::string> details = ask(record);
  const std::uint64_t shown = details ? nextPicture - before : 0;
  drawn += shown;
  refused += record.outputs.size() - shown;
  folder.write(numberedName("d", row, "js"), scriptCall("details", row, details ? *details : giveUp(record)));
}

/// Nothing where the worker ended, or says nothing any more.
std::optional<std::string> DetailsWriter::ask(const Record& record)
{
  if (!worker)
    worker = std::make_unique<Worker>(
        state, kMemory, [] {}, [this](WorkerSide& run) { make(run); });
  worker->send({0, kDetails, base::joined(nextPicture, "\n", packed(record))});
  worker->flush();
  while (worker->receiveWithin(kPatience) == Heard::something)
    while (const std::optional<Frame> frame = worker->next())
      if (frame->type == kPicture)
        folder.write(numberedName("p", nextPicture++, "svg"), frame->text);
      else
      {
        worker->dropAll();
        return frame->text;
      }
  return std::nullopt;
}

std::string DetailsWriter::giveUp(const Record& record)
{
  worker.reset();
  return DetailsMaker::withoutPictures(record, anonymity).dump();
}

} // namespace tarn::archive
