#include "tests/support/StateFixture.h"

#include "converter/PSConverter.h"

#include <sstream>

using namespace impsconverter;

namespace
{

using AccountTest = StateFixture;

const std::string kId = "label\\ID+1.2/CT.1.2.3_1", kUnknownId = "%0AID+1.2/X.9_1";
const std::string kRuler = "%0Aruler_x+1+red+1+1+1+1+1+1+1+1+0|4+4+a+0",
                  kText = "%0Atext_x+1+red+1+1+1+1+1+1+1+1+0|0+a";

struct AccountRow
{
  const char* fact;
  std::string text;
  std::string annotations; ///< kind=written/read
  std::string losses;      ///< code(detail)=lines
};

const AccountRow kRows[] = {
    {"all written", kId + kRuler + kText + kRuler, "ruler=2/2 text=1/1 ", ""},
    {"two figures", kId + kRuler + "\\ID+1.2/CT.1.2.3_2" + kText, "ruler=1/1 text=1/1 ", ""},
    {"nothing to write", kId, "", ""},
    {"an unknown kind", kId + "%0Aarrow_x+1|2%0Aarrow_x" + kRuler, "arrow=0/2 ruler=1/1 ", "kind-unknown(arrow)=2 "},
    {"a known kind without parameters", kId + "%0Aruler_x" + kRuler, "ruler=1/2 ", "kind-unknown(ruler)=1 "},
    {"the ending alone", kId + "%0A_x+1", "", "line-unknown(_x)=1 "},
    {"other unknown lines", kId + "%0Azoom+1%0Alight%0A%0A++%0A%0D%0Azoom", "",
     "line-unknown(light)=1 line-unknown(zoom)=2 "},
    {"an unknown image", kId + kRuler + kUnknownId + kText + kRuler, "ruler=1/2 text=0/1 ", "image-unknown(X.9)=2 "},
    {"an unknown image twice", kId + kUnknownId + kText + kUnknownId + kText, "text=0/2 ", "image-unknown(X.9)=2 "},
    {"the view of an unknown image", "label\\ID+1.2/X.9_1%0Apixel+1+1", "", "image-unknown(X.9)=0 "},
    {"a line that fails, and what follows it",
     kId + kRuler + "%0AID+1.2/CT.1.2.3_2" + kText + "%0Aoval_x+1" + kRuler + "%0Aarrow_x+1\\ID+1.2/CT.1.2.3_3" + kText,
     "arrow=0/1 oval=0/1 ruler=1/2 text=0/2 ", "conversion-error()=4 kind-unknown(arrow)=1 "},
    {"no figure in the middle", kId + kRuler + "\\AD" + kText + "\\ID+1.2/CT.1.2.3_1" + kText, "ruler=1/1 text=0/2 ",
     "conversion-error()=2 line-unknown(AD)=1 "},
    {"no figure at all", "label", "", "no-figure()=0 "},
};

std::string described(const Account& account)
{
  std::ostringstream text;
  for (const auto& [kind, lines] : account.annotations())
    text << kind << '=' << lines.written << '/' << lines.read << ' ';
  text << '|';
  for (const auto& [loss, lines] : account.losses())
    text << loss.first << '(' << loss.second << ")=" << lines << ' ';
  return text.str();
}

TEST_F(AccountTest, EveryLineIsWrittenOrLost)
{
  for (const AccountRow& row : kRows)
  {
    const Capture said;
    const auto file = state(row.text);
    std::list<DcmFileFormat*> outputs;
    PSConverter converter(*db, file.get(), &outputs, 0, false);
    static_cast<void>(converter.run(false));
    EXPECT_EQ(row.annotations + "|" + row.losses, described(converter.account())) << row.fact;
    EXPECT_EQ("1.2 " + std::string(kUid), converter.account().studyUid + " " + converter.account().sopInstanceUid);
    for (DcmFileFormat* output : outputs)
      delete output;
  }
}

TEST_F(AccountTest, AStudyThatCannotBeMadeSureOfLosesEveryLine)
{
  const Capture said;
  const auto file = state(kId + kRuler + "%0Aarrow_x");
  PSConverter converter(*db, file.get(), nullptr, 0, false);
  EXPECT_EQ(impsconverter::Outcome::cacheFailed, converter.run(true));
  EXPECT_EQ("arrow=0/1 ruler=0/1 |kind-unknown(arrow)=1 object-cache()=1 ", described(converter.account()));
}

TEST_F(AccountTest, KnowsWhichMessagesTheFailedLineHas)
{
  const Capture said;
  const auto file = state("label\\ID+1.2/CT.1.2.4_1%0Atext_x+nothing");
  PSConverter converter(*db, file.get(), nullptr, 0, false);
  EXPECT_EQ(impsconverter::Outcome::failed, converter.run(false));
  EXPECT_EQ(1U, converter.account().messagesBefore) << "the image is looked for with a message of its own";
}

} // namespace
