#pragma once

#include "archive/journal/Record.h"
#include "archive/run/StoreError.h"
#include "converter/OutputSink.h"

#include <cstdint>
#include <functional>
#include <string>

namespace tarn::archive
{

/// Encodes the outputs of conversions and writes them into a working folder, numbered.
class OutputWriter : public impsconverter::OutputSink
{
public:
  /// Called with each output when it is whole: its number is its name in the folder.
  using Finished = std::function<void(std::uint64_t number, const Output& output)>;

  /// An empty `folder` writes nothing.
  OutputWriter(std::string folder, Finished finished) : folder(std::move(folder)), finished(std::move(finished)) {}

  /// Outputs go to the folder of this study from now on.
  void begin(const std::string& studyUid);
  /// Throws StoreError where the disk takes no more.
  [[nodiscard]] bool take(impsconverter::ValidPresentationState& output,
                          const impsconverter::Account::Lines& lines) override;

private:
  void write() const;

  std::string folder;
  Finished finished;
  std::string studyFolder;
  std::uint64_t number = 0;
  std::string bytes; ///< of the output, kept for the next one
};

} // namespace tarn::archive
