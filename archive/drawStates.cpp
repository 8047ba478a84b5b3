// `annomend-archive picture`: presentation states of any maker drawn over their images.
#include "archive/drawStates.h"

#include "archive/inputs/FileLook.h"
#include "archive/inputs/walkPaths.h"
#include "archive/journal/sha256.h"
#include "archive/run/exitStatus.h"
#include "base/Console.h"
#include "base/PartFile.h"
#include "base/files.h"
#include "base/report.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "dicom/dictionary.h"
#include "picture/drawState.h"

#include <cerrno>
#include <cstdint>

#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

class Drawer
{
public:
  explicit Drawer(const DrawRequest& request)
    : request(request), connector(db::Missing::refuse), images(connector, request.images)
  {
  }

  /// Draws a state into a file; false after a line that says why it has no picture.
  bool draw(const std::string& state, const std::string& image, const std::string& file);

private:
  const DrawRequest& request;
  db::DBConnectorSql connector; ///< opened only where a repository asks for it
  images::ImageFiles images;
  picture::Codecs codecs;
};

/// The file appears under its name when it is complete, as private as the umask has it for pictures of patients.
void writePicture(const std::string& file, const std::string& svg)
{
  base::PartFile part(file);
  if (!part.good() || !part.setMode(0600) || !part.write(svg.data(), svg.size()) || !part.keep())
    throw picture::Refusal("picture-not-written", base::joined(file, ": ", base::FileError(errno).what()));
}

bool Drawer::draw(const std::string& state, const std::string& image, const std::string& file)
{
  try
  {
    writePicture(file, picture::drawState(state, images, {request.size, request.reference, true, image}));
    return true;
  }
  catch (const picture::Refusal& refusal)
  {
    base::report(state, ": ", refusal.code, ": ", refusal.what());
  }
  catch (const db::DBException& failure)
  {
    base::report(state, ": image-not-found: ", failure.what());
  }
  return false;
}

} // namespace

int drawStates(const DrawRequest& request)
{
  std::string error;
  if (!dicom::setUpDictionary(error))
  {
    base::report("annomend-archive: ", error);
    return exitStatus::kFailed;
  }
  Drawer drawer(request);
  const std::string image = request.paths.size() > 1 ? request.paths[1] : "";
  return drawer.draw(request.paths.front(), image, request.file) ? exitStatus::kDone : exitStatus::kFailed;
}

} // namespace tarn::archive
