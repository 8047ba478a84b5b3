#pragma once

#include "archive/journal/Record.h"
#include "archive/run/ConformantForm.h"
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

  /// An empty `folder` writes nothing. `form` is borrowed; null for the plain form.
  OutputWriter(std::string folder, ConformantForm* form, Finished finished)
    : folder(std::move(folder)), form(form), finished(std::move(finished))
  {
  }

  /// Begins the outputs of an input, which go to the folder of this study.
  void begin(const std::string& studyUid);
  /// Throws StoreError where the disk takes no more.
  [[nodiscard]] bool take(impsconverter::ValidPresentationState& output, const impsconverter::OutputContext& context,
                          impsconverter::OutputRefusal& refusal) override;

  /// Of the input's outputs: how many were taken, how many could not be made conformant, and what was mended.
  std::uint64_t taken() const { return takenCount; }
  std::uint64_t refused() const { return refusedCount; }
  const ConformantForm::Remedies& remedies() const { return applied; }

private:
  void write() const;

  std::string folder;
  ConformantForm* form;
  Finished finished;
  std::string studyFolder;
  std::uint64_t number = 0;
  std::uint64_t takenCount = 0;
  std::uint64_t refusedCount = 0;
  ConformantForm::Remedies applied;
  std::string bytes; ///< of the output, kept for the next one
};

} // namespace tarn::archive
