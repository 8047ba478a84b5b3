#pragma once

#include "archive/html/Anonymity.h"
#include "archive/html/ReportFolder.h"
#include "archive/html/pluginLines.h"
#include "archive/journal/Record.h"
#include "archive/journal/textJson.h"
#include "db/DBConnectorSql.h"
#include "images/ImageFiles.h"
#include "picture/drawState.h"

#include <cstdint>
#include <string>

namespace tarn::archive
{

/// Writes what the page shows of an input beside its row: pictures of its outputs, and the lines of the plug-in state
/// that each was made of.
class DetailsWriter
{
public:
  /// Outputs lie in `out`; images are found in the data repository, and in `imagesFolder` where it is not empty.
  /// Borrows `folder` and `anonymity`.
  DetailsWriter(ReportFolder& folder, const Anonymity& anonymity, std::string out, const std::string& imagesFolder);

  void write(std::uint64_t row, const Record& record);

  std::uint64_t pictures() const { return drawn; }
  std::uint64_t refusals() const { return refused; } ///< outputs without a picture

private:
  Json partOf(const Output* output, const PluginPart* lines);
  void putPicture(Json& part, const Output& output);

  ReportFolder& folder;
  const Anonymity& anonymity;
  std::string out;
  db::DBConnectorSql db{db::Missing::refuse};
  images::ImageFiles images;
  picture::Codecs codecs;
  std::uint64_t drawn = 0;
  std::uint64_t refused = 0;
};

} // namespace tarn::archive
