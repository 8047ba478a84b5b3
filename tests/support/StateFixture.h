#pragma once

#include "tests/support/Capture.h"
#include "db/DBConnectorSql.h"
#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "db/SqlSession.h"
#include "tests/support/TempDir.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/// The elements of an item, or those of the tags named: "Name:VR=value" separated by blanks, a sequence as
/// "Name{item}{item}".
std::string describe(DcmItem& item, const std::vector<DcmTagKey>& only = {});

/// What follows the line of a figure that fails.
const std::string kFigureFailed = "parseFigure returns false\nparsePluginState returns false (parseFigure)\n";

const DcmTagKey kPluginState(0xF215, 0x1094);

/// Presentation states that are built in memory and converted from a file, with a database in memory. That database
/// knows the image CT.1.2.3 (512 x 256) of the study 1.2; the state's own references know 1.2.4 too.
class StateFixture : public testing::Test
{
protected:
  /// The result of one conversion and what it wrote to each stream.
  struct Outcome
  {
    bool good = false;
    std::string error;
    std::string out;
  };

  static constexpr char kUid[] = "1.2.826.0.1.7770001.2.11.4.123.45";
  static constexpr char kFirstName[] = "PR.1.2.826.0.1.7770001.2.11.7.1.123.45";

  StateFixture();

  /// Runs a statement on the database.
  void execute(const char* sql) { db->session().execute(sql); }

  /// A plug-in state of one figure on the image of the database: its ID line and `lines`.
  static std::string figureOf(const std::vector<std::string>& lines);
  static std::unique_ptr<DcmFileFormat> state(const std::string& pluginState);
  /// Puts an element of any VR, whether it suits the tag or not, in place of what is there.
  static void putElement(DcmItem& item, const DcmTagKey& tag, DcmEVR vr, const std::string& value);

  /// Saves the state as `inputPath` and converts that with the outputs going to `prefix`.
  Outcome convert(DcmFileFormat& file, unsigned long flags = 0, bool debug = false);
  Outcome convert(const std::string& pluginState, unsigned long flags = 0, bool debug = false);

  /// Reads a file of the output folder.
  std::unique_ptr<DcmFileFormat> output(const std::string& name = kFirstName) const;
  std::string describeOutput(const std::vector<DcmTagKey>& tags, const std::string& name = kFirstName) const;
  /// The values of the tags wherever they stand in an output, separated by blanks.
  std::string valuesIn(const std::vector<DcmTagKey>& tags, const std::string& name = kFirstName) const;
  std::vector<std::string> outputNames() const { return namesIn(folder.path() / "out"); }

  TempDir folder;
  std::string inputPath = folder.path() / "in.dcm";
  std::string prefix = folder.path() / "out" / "";
  Environment url{Environment::Variables{{"TARN_DB_URL", "sqlite::memory:"}, {"OBJECTTBL", std::nullopt}}};
  std::unique_ptr<tarn::db::DBConnectorSql> db = tarn::db::DBConnectorSql::open(tarn::db::Missing::refuse);
};
