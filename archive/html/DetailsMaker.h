#pragma once

#include "archive/html/Anonymity.h"
#include "archive/html/pluginLines.h"
#include "archive/journal/Record.h"
#include "archive/journal/textJson.h"
#include "db/DBConnectorSql.h"
#include "images/ImageFiles.h"
#include "picture/drawState.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tarn::archive
{

/// What the page shows of an input beside its row: pictures of its outputs, and the lines of the plug-in state that
/// each was made of. It opens files that may do harm.
class DetailsMaker
{
public:
  using TakePicture = std::function<void(const std::string& svg)>;

  /// Outputs lie in `out`; images are found in the data repository, and in `imagesFolder` where it is not empty.
  /// Borrows `anonymity`.
  DetailsMaker(const Anonymity& anonymity, std::string out, const std::string& imagesFolder);

  /// The details, of which the pictures, given to `take` in their order, have the numbers from `firstPicture` on.
  Json make(const Record& record, std::uint64_t firstPicture, const TakePicture& take);
  /// The details of an input that ended the process.
  static Json withoutPictures(const Record& record, const Anonymity& anonymity);

private:
  Json partOf(const Output* output, const PluginPart* lines, const TakePicture& take);
  void putPicture(Json& part, const Output& output, const TakePicture& take);

  const Anonymity& anonymity;
  std::string out;
  db::DBConnectorSql db{db::Missing::refuse};
  images::ImageFiles images;
  std::optional<picture::Codecs> codecs; ///< once a picture is wanted
  std::uint64_t nextPicture = 0;
};

/// "p/012/012345.svg": a folder holds a thousand.
std::string numberedName(const char* folder, std::uint64_t number, const char* extension);

} // namespace tarn::archive
