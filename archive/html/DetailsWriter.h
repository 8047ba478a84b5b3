#pragma once

#include "archive/html/Anonymity.h"
#include "archive/html/ReportFolder.h"
#include "archive/journal/Record.h"
#include "archive/run/Worker.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarn::archive
{

/// Writes the details of inputs. They are made in a process of its own, so that a file that ends it, or takes too long,
/// costs the pictures of one input; then the next one is made in a new process.
class DetailsWriter
{
public:
  /// As DetailsMaker. Borrows `folder` and `anonymity`.
  DetailsWriter(ReportFolder& folder, const Anonymity& anonymity, std::string out, std::string imagesFolder);

  /// Throws ReportError.
  void write(std::uint64_t row, const Record& record);

  std::uint64_t pictures() const { return drawn; }
  std::uint64_t refusals() const { return refused; } ///< outputs without a picture

private:
  void make(WorkerSide& run) const;
  std::optional<std::string> ask(const Record& record);
  std::string giveUp(const Record& record);

  ReportFolder& folder;
  const Anonymity& anonymity;
  std::string out;
  std::string imagesFolder;
  WorkerState state;
  std::unique_ptr<Worker> worker; ///< null until it is needed, and after one ended
  std::uint64_t nextPicture = 0;
  std::uint64_t drawn = 0;
  std::uint64_t refused = 0;
};

} // namespace tarn::archive
