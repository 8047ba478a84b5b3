// `annomend-archive report --measurements`: what readers measured (docs/formats.md, "Measurements").
#include "archive/reportMeasurements.h"

#include "archive/journal/textJson.h"
#include "archive/journals.h"
#include "archive/measurements/InputMeasurer.h"
#include "archive/run/exitStatus.h"
#include "base/report.h"
#include "dicom/dictionary.h"

namespace tarn::archive
{

int reportMeasurements(const std::string& out, const std::string& imagesFolder)
{
  const std::vector<JournalIndex> journals = openJournals(out, Damage::passOver);
  const std::uint64_t damagedLines = tellDamage(journals);
  std::string error;
  if (!dicom::setUpDictionary(error))
  {
    base::report("annomend-archive: ", error);
    return exitStatus::kFailed;
  }
  MeasurementTable table;
  InputMeasurer measurer(imagesFolder, table);
  std::uint64_t unread = 0;
  for (const JournalIndex& journal : journals)
    journal.forEach(
        [&](const Record& record)
        {
          const std::string reason = measurer.measure(record);
          if (reason.empty())
            return;
          ++unread;
          base::report("annomend-archive: ", readable(record.input), " is left out: ", reason);
        });
  base::report(table.rows(), " annotations, ", table.compared(), " with a measure and a number of the viewer, ",
               table.different(), " of these differ by more than 2 %, ", table.rounded(),
               " of them by no more than the last digit; ", unread, " inputs left out");
  return unread == 0 && damagedLines == 0 ? exitStatus::kDone : exitStatus::kFailed;
}

} // namespace tarn::archive
