#include "tests/support/Files.h"
#include "tests/support/TempDir.h"
#include "tests/support/ViewState.h"

#include "archive/inputs/shard.h"
#include "archive/journal/Journal.h"
#include "archive/journal/inventory.h"
#include "archive/journal/textJson.h"
#include "archive/run/ConformantForm.h"
#include "db/DBConnectorSql.h"
#include "dicom/firstBytes.h"
#include "images/ObjectInfo.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <vector>

using namespace tarn::archive;
using namespace std::string_literals;

namespace
{

const std::string kPreamble = std::string(128, '\0') + "DICM";
const std::string kClass = "\x08\0\x16\0UI\x04\0"s + "1.2\0"s;                   // (0008,0016), explicit, little endian
const std::string kMeta = "\2\0\0\0UL\4\0\x1c\0\0\0\2\0\1\0OB\0\0\2\0\0\0\0\1"s; // group length and version
const std::string kMetaClass = "\2\0\2\0UI\x04\0"s + "1.2\0"s;
const std::string kDeflated = "\2\0\x10\0UI\x16\0"s + "1.2.840.10008.1.2.1.99";
const std::string kCharacterSet = "\x08\0\5\0CS\x0a\0ISO_IR 100"s;

struct Start
{
  const char* name;
  std::string bytes;
  std::optional<std::string> sopClass;
};

TEST(FirstBytes, TellTheClassOrNothing)
{
  const Start starts[] = {
      {"meta information", kPreamble + kMeta + kMetaClass, "1.2"},
      {"meta information without preamble", kMeta + kMetaClass, "1.2"},
      {"meta information without class", kPreamble + kMeta + kCharacterSet + kClass, "1.2"},
      {"deflated", kPreamble + kMeta + kMetaClass + kDeflated, "1.2"},
      {"deflated, without class", kPreamble + kMeta + kDeflated + kClass, {}},
      {"data set alone", kCharacterSet + kClass, "1.2"},
      {"implicit", "\x08\0\5\0\2\0\0\0AB\x08\0\x16\0\4\0\0\0001.2 "s, "1.2"},
      {"big endian", "\0\x08\0\x16UI\0\4"s + "1.2\0"s, "1.2"},
      {"old, with group length", "\x08\0\0\0\4\0\0\0\1\0\0\0\x08\0\x16\0\4\0\0\0001.2 "s, "1.2"},
      {"empty class", "\x08\0\x16\0UI\0\0"s, ""},
      {"class that is cut", kClass.substr(0, kClass.size() - 1), {}},
      {"header that is cut", kCharacterSet + kClass.substr(0, 7), {}},
      {"long header that is cut", "\x08\0\1\0OB\0\0\1\0\0"s, {}},
      {"4 GiB announced", "\x08\0\1\0OB\0\0\xff\xff\xff\xff"s + kClass, {}},
      {"4 GiB announced in meta information", kPreamble + "\2\0\1\0OB\0\0\xff\xff\xff\xff"s + kMetaClass, {}},
      {"element after the class", "\x08\0\x18\0UI\2\0001\0"s + kClass, {}},
      {"preamble alone", kPreamble, {}},
      {"text", "Patient notes, 8 pages\n", {}},
      {"one byte", "\x08", {}},
      {"empty", "", {}},
  };
  for (const auto& [name, bytes, sopClass] : starts)
  {
    const std::vector<char> whole(bytes.begin(), bytes.end()); // which the sanitizers guard at its very end
    EXPECT_EQ(tarn::dicom::sopClassIn({whole.data(), whole.size()}), sopClass) << name;
  }
}

TEST(TextInJson, ShowsBytesThatAreNoUtf8)
{
  const std::pair<std::string, std::string> rows[] = {
      {"plain \xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80 \xf4\x8f\xbf\xbf",
       "plain \xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80 \xf4\x8f\xbf\xbf"},
      {"\xff!", "\\xFF!"},
      {"\xc3", "\\xC3"},
      {"\xc0\xaf", "\\xC0\\xAF"},                   // overlong
      {"\xe0\x9f\xbf", "\\xE0\\x9F\\xBF"},          // overlong
      {"\xed\xa0\x80", "\\xED\\xA0\\x80"},          // a surrogate
      {"\xf4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"}, // beyond U+10FFFF
      {"\xf0\x9f\x98!", "\\xF0\\x9F\\x98!"},
      {"\xf5\x80\x80\x80", "\\xF5\\x80\\x80\\x80"}, // no such lead byte
      {"\x80\xe2\x82", "\\x80\\xE2\\x82"},
  };
  for (const auto& [bytes, shown] : rows)
  {
    JsonLine line;
    putInput(line, bytes);
    const Json json = Json::parse(line.finish());
    EXPECT_EQ(json.at("input"), shown);
    EXPECT_EQ(inputOf(json), bytes) << shown;
    EXPECT_EQ(json.contains("input_hex"), bytes != shown);
  }
}

Record recordOf(const std::string& input, Outcome outcome = Outcome::converted)
{
  Record record;
  record.input = input;
  record.size = 7;
  record.mtime = "2026-01-02T03:04:05.000000006Z";
  record.outcome = outcome;
  return record;
}

TEST(RecordLine, HoldsAllOfIt)
{
  const std::string line =
      R"({"input":"/a\\xFF\n","input_hex":"2F61FF0A","size":7,"mtime":"2026-01-02T03:04:05.000000006Z","study":"1.2",)"
      R"("instance":"1.2.3","outcome":"partly","annotations":{"ruler":{"read":3,"written":1}},)"
      R"("reasons":[{"code":"image-unknown","detail":"CT.\\x80","count":2}],"outputs":[{"file":"1.2/PR.1",)"
      R"("instance":"1.2.4","image":"1.5","class":"1.6","frame":"2","bytes":9,"sha256":"ab","annotations":{"ruler":1},)"
      R"("duplicate":true}],"messages":["one"],"ms":0.125})";
  Record record = recordOf("/a\xff\n", Outcome::partly);
  record.study = "1.2";
  record.instance = "1.2.3";
  record.annotations["ruler"] = {3, 1};
  record.reasons = {{"image-unknown", "CT.\x80", 2}};
  record.outputs = {{"1.2/PR.1", "1.2.4", "1.5", "1.6", "2", 9, "ab", {{"ruler", 1}}, true}};
  record.messages = {"one"};
  record.milliseconds = 0.125;
  EXPECT_EQ(toJson(record), line);
  EXPECT_EQ(toJson(recordFrom(line)), line);
  EXPECT_EQ(recordFrom(line).input, record.input);
  EXPECT_ANY_THROW(recordFrom(replaced(line, "partly", "done")));
  const std::string entry = R"({"input":"/b","size":1,"mtime":"","study":"1","instance":"2","private":true})";
  EXPECT_EQ(toJson(entryFrom(entry)), entry);
}

/// A journal of two records of "/a", the last one refused, and one of "/b".
struct JournalFile
{
  const TempDir folder;
  const std::string path = folder / "1-of-1.jsonl";
  JournalFile()
  {
    Journal journal(folder.path(), {});
    for (const Record& record : {recordOf("/a"), recordOf("/b"), recordOf("/a", Outcome::refused)})
      journal.add(record);
    journal.commit();
  }
  Journal open() const { return Journal(folder.path(), {}); }
};

/// Why the journal of `header` cannot be opened; empty where it can.
std::string refusalOf(const TempDir& folder, const JournalHeader& header)
{
  try
  {
    const Journal opened(folder.path(), header);
  }
  catch (const JournalMisfit& refusal)
  {
    return refusal.what();
  }
  return "";
}

TEST(JournalOfEarlierRuns, LosesNoMoreThanItsTornEnd)
{
  const std::string next = toJson(recordOf("/c")) + "\n";
  const std::string ends[] = {"",
                              "{\"input\":\"/c",
                              next.substr(0, next.size() - 1),
                              std::string(9000, '\0'),
                              "\0\n"s,
                              "{\"inp\0\0\n"s + next,
                              std::string(70000, '\0') + "\n" + next + next};
  for (const std::string& end : ends)
  {
    const JournalFile file;
    const std::string whole = contents(file.path);
    put(file.path, whole + end);
    {
      Journal journal = file.open();
      EXPECT_EQ(journal.read("/a")->outcome, Outcome::refused) << "the last record counts";
      EXPECT_TRUE(journal.find("/b", {7, "2026-01-02T03:04:05.000000006Z"})->sameVersion);
      EXPECT_FALSE(journal.find("/b", {8, "2026-01-02T03:04:05.000000006Z"})->sameVersion);
      EXPECT_FALSE(journal.read("/c"));
      EXPECT_EQ(contents(file.path), whole) << end.size();
      journal.add(recordOf("/c"));
      journal.commit();
    }
    EXPECT_EQ(contents(file.path), whole + next);
    EXPECT_TRUE(file.open().read("/c"));
  }
}

TEST(JournalOfEarlierRuns, IsRefusedWhereItDoesNotFit)
{
  const std::tuple<const char*, std::function<void(const JournalFile&)>, JournalHeader, const char*> rows[] = {
      {"damage",
       [](auto& file) { put(file.path, replaced(contents(file.path), "\"refused\"", "\"r#fused\"") + "x\n"); },
       {},
       "is damaged at byte "},
      {"another number of shards", [](auto&) {}, {"plain", 1, 2}, "is one of 1 shards, not of 2"},
      {"another form", [](auto&) {}, {"conformant", 1, 1}, "is of the form 'plain', not 'conformant'"},
      {"another version",
       [](auto& file) { put(file.path, "{\"journal\":2}\n"); },
       {},
       "does not begin with the header"},
      {"a file of something else", [](auto& file) { put(file.folder / "x.jsonl", "x\n"); }, {}, "does not begin with"},
      {"no file",
       [](auto& file) { std::filesystem::create_directory(file.folder / "x.jsonl"); },
       {},
       "x.jsonl cannot be read: Not a regular file"},
  };
  for (const auto& [name, spoil, header, message] : rows)
  {
    const JournalFile file;
    spoil(file);
    const std::string before = contents(file.path);
    EXPECT_NE(refusalOf(file.folder, header).find(message), std::string::npos) << name;
    EXPECT_EQ(contents(file.path), before) << name;
  }
  const JournalFile file;
  const Journal first = file.open();
  EXPECT_EQ(refusalOf(file.folder, {}), file.path + " is in use by another run");
}

/// Each copy of an output is found as long as its record is the last one of its input, in a batch and after it.
TEST(JournalIndex, KnowsAllWhoHaveAnOutput)
{
  const TempDir folder;
  Journal journal(folder.path(), {});
  std::set<std::string> inputs;
  for (const char* input : {"/a", "/b", "/c", "/d"})
  {
    Record record = recordOf(input);
    record.outputs = {{"1/PR.1", "", "", "", "", 1, "", {}, !inputs.empty()}};
    journal.add(record);
    inputs.insert(input);
  }
  EXPECT_EQ(journal.holderOf("1/PR.1", Role::owner), "/a");
  for (const char* commits : {"before", "after", "before"})
  {
    const std::string holder = *journal.holderOf("1/PR.1", Role::duplicate);
    EXPECT_EQ(inputs.erase(holder), 1U) << holder;
    if (commits == "before"s)
      journal.commit();
    journal.add(recordOf(holder));
  }
  EXPECT_FALSE(journal.holderOf("1/PR.1", Role::duplicate));
  EXPECT_EQ(inputs, std::set<std::string>{"/a"});
}

TEST(OffsetIndex, KeepsNamesOfOneHashApart)
{
  OffsetIndex index;
  const auto nobody = [](std::uint64_t) { return false; };
  const auto only = [](std::uint64_t place) { return [place](std::uint64_t offset) { return offset == place; }; };
  constexpr std::uint64_t kNames = 200'000;
  for (std::uint64_t i = 0; i < kNames; ++i)
    index.put(std::to_string(i), i << 20U, only(i << 20U));
  for (std::uint64_t i = 0; i < 1000; ++i)
    index.put("7", kNames + i, nobody); // other names, for all it knows
  for (std::uint64_t i = 0; i < kNames; ++i)
    ASSERT_EQ(index.find(std::to_string(i), only(i << 20U)), i << 20U);
  for (std::uint64_t i = 0; i < 1000; ++i)
    ASSERT_EQ(index.find("7", only(kNames + i)), kNames + i);
  index.put("7", 5, only(kNames + 500));
  EXPECT_EQ(index.find("7", only(kNames + 500)), OffsetIndex::kNone) << "it was replaced";
  EXPECT_EQ(index.find("7", only(5)), 5U);
  EXPECT_EQ(index.find("none", [](std::uint64_t) { return true; }), OffsetIndex::kNone);
}

TEST(Shard, IsThatOfTheHash)
{
  struct Row
  {
    std::string study, path;
    unsigned of2, of3, of7, of1000; ///< calculated by Python's hashlib
  };
  const Row rows[] = {
      {"1.2.826.0.1.7770001.2.11.1.20", "/x", 2, 2, 1, 492},
      {"1.2.3", "", 1, 3, 3, 655},
      {"", "/archive/a b.dcm", 2, 1, 5, 454},
      {"../../x", "/y", 1, 2, 7, 841},
      {std::string(70, '1'), "/z", 1, 2, 7, 841},
  };
  for (const auto& [study, path, of2, of3, of7, of1000] : rows)
    for (const auto& [shards, expected] : {std::pair(1U, 1U), {2U, of2}, {3U, of3}, {7U, of7}, {1000U, of1000}})
      for (unsigned shard = 1; shard <= shards; ++shard)
        ASSERT_EQ(isOfShard(study, path, shard, shards), shard == expected) << study << path << ' ' << shards;
}

/// The object table may not know how many frames an image has, and then says 1.
TEST(ConformantForm, DropsFramesThatTheImageCannotHave)
{
  const std::pair<Uint16, const char*> kFramesOfTable[] = {{1, "7"}, {10, "7"}, {3, ""}};
  for (const auto& [frames, kept] : kFramesOfTable)
  {
    const auto state = viewState();
    edit(*state, "-ReferencedSeriesSequence;+image 1.2.5 7");
    impsconverter::ObjectInfo image("1.2", "CT.1.2.5");
    image.sopClassUid = UID_EnhancedCTImageStorage;
    image.sopInstanceUid = "1.2.5";
    image.columns = 512;
    image.rows = 256;
    image.frames = frames;
    tarn::db::DBConnectorSql db{tarn::db::Missing::refuse};
    ConformantForm::Remedies remedies;
    impsconverter::OutputRefusal refusal;
    ConformantForm(db, "").apply(*state, image, remedies, refusal);
    OFString left;
    static_cast<void>(state->findAndGetOFString(DCM_ReferencedFrameNumber, left, 0, OFTrue));
    EXPECT_EQ(kept, left) << frames << " frames by the table";
    EXPECT_EQ("", refusal.code);
  }
}

} // namespace
