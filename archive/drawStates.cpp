// `annomend-archive picture`: presentation states of any maker drawn over their images.
#include "archive/drawStates.h"

#include "archive/DrawingProcess.h"
#include "archive/inputs/FileLook.h"
#include "archive/inputs/walkPaths.h"
#include "archive/journal/sha256.h"
#include "archive/run/exitStatus.h"
#include "base/Console.h"
#include "base/PartFile.h"
#include "base/files.h"
#include "base/report.h"
#include "base/text.h"
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"
#include "picture/drawState.h"

#include <cerrno>
#include <cstdint>
#include <memory>

#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

/// What drawing needs, made in the process that draws.
struct Studio
{
  explicit Studio(const DrawRequest& request) : connector(db::Missing::refuse), images(connector, request.images) {}

  db::DBConnectorSql connector; ///< opened only where a repository asks for it
  images::ImageFiles images;
  picture::Codecs codecs;
};

/// The file appears under its name when it is complete. It is left with the permissions of a part file: it shows a
/// patient to its owner alone.
void writePicture(const std::string& file, const std::string& svg)
{
  base::PartFile part(file);
  if (!part.good() || !part.write(svg.data(), svg.size()) || !part.keep())
    throw picture::Refusal("picture-not-written", file + ": " + base::FileError(errno).what());
}

DrawingProcess::Draw drawing(const DrawRequest& request, const std::string& image)
{
  return
      [&request, image, studio = std::make_shared<Studio>(request)](const std::string& state, const std::string& file) {
        writePicture(file, picture::drawState(state, studio->images, {request.size, request.reference, true, image}));
      };
}

class Drawer
{
public:
  explicit Drawer(const DrawRequest& request)
    : request(request), process([&request] { return drawing(request, imageOf(request)); })
  {
  }

  /// Draws a state into a file; false after a line that says why it has no picture.
  bool draw(const std::string& state, const std::string& file);
  /// Draws the states that are named, and those in folders, each into a file of its own below the folder.
  bool drawAll();

private:
  static std::string imageOf(const DrawRequest& request)
  {
    return request.folder.empty() && request.paths.size() > 1 ? request.paths[1] : "";
  }

  void look(const std::string& path, bool named);
  void problem(const std::string& line);

  const DrawRequest& request;
  DrawingProcess process;
  std::uint64_t drawn = 0;
  std::uint64_t passed = 0;
  std::uint64_t problems = 0;
};

bool Drawer::draw(const std::string& state, const std::string& file)
{
  const std::string reason = process.draw(state, file);
  if (!reason.empty())
    base::report(state, ": ", reason);
  return reason.empty();
}

/// A name that is the state's own as far as any file system takes it, and no other state's: the hash is that of the
/// path.
std::string pictureName(const std::string& state)
{
  constexpr std::size_t kLongest = 128;
  constexpr std::size_t kDigits = 24;
  constexpr char kPlain[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz.-";
  std::string name = base::baseName(state).substr(0, kLongest);
  for (std::size_t i = name.find_first_not_of(kPlain); i != std::string::npos; i = name.find_first_not_of(kPlain, i))
    name[i] = '_';
  if (name.front() == '.')
    name.front() = '_';
  return name + "-" + sha256Hex(state).substr(0, kDigits) + ".svg";
}

void Drawer::problem(const std::string& line)
{
  ++problems;
  base::report(line);
}

void Drawer::look(const std::string& path, bool named)
{
  FileLook look(path);
  const bool mayBeState = look.kind() == FileLook::Kind::file && look.mayBeState().value_or(false);
  const bool isGone = look.kind() == FileLook::Kind::missing && !named;
  if (mayBeState || (named && look.reason().empty()))
  {
    const std::string name = pictureName(path);
    const bool isDrawn = draw(path, request.folder + "/" + name);
    if (isDrawn)
      consoleOut() << name << ": " << base::printable(path) << '\n';
    drawn += isDrawn ? 1 : 0;
    problems += isDrawn ? 0 : 1;
  }
  else if (!look.reason().empty() && !isGone)
    problem(path + ": state-unreadable: " + look.reason());
  else
    ++passed;
}

bool Drawer::drawAll()
{
  const WalkSink found{[this](const std::string& path) { look(path, false); }, [this] { ++passed; },
                       [this](const std::string& line) { problem(line); }};
  walkPaths(request.paths, absolutePath(request.folder), found, [this](const std::string& path) { look(path, true); });
  base::report(drawn, " pictures, ", problems, " problems, ", passed, " other files passed over");
  return problems == 0;
}

void makeFolder(const std::string& folder)
{
  constexpr mode_t kMode = 0700;
  if (mkdir(folder.c_str(), kMode) != 0 && errno != EEXIST)
    throw picture::Refusal("picture-not-written", folder + ": " + base::FileError(errno).what());
}

int draw(const DrawRequest& request)
{
  if (!request.folder.empty())
    makeFolder(request.folder);
  Drawer drawer(request);
  const bool isAll = request.folder.empty() ? drawer.draw(request.paths.front(), request.file) : drawer.drawAll();
  return isAll ? exitStatus::kDone : exitStatus::kFailed;
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
  try
  {
    return draw(request);
  }
  catch (const picture::Refusal& refusal) // of no state: the folder cannot be made
  {
    base::report("annomend-archive: ", refusal.code, ": ", refusal.what());
    return exitStatus::kFailed;
  }
}

} // namespace tarn::archive
