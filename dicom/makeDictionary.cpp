// Writes the toolkit's text dictionary as the tables that AttributeTable.cpp includes: make_dictionary FILE
#include "dicom/attributeTable.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using tarn::dicom::kTextBlock;

/// The texts of all entries, each once, in blocks that none of them crosses.
class Texts
{
public:
  /// Its place: 0 for null.
  std::size_t place(const char* text)
  {
    if (!text)
      return 0;
    const auto known = places.find(text);
    return known != places.end() ? known->second : add(text);
  }

  void write(std::ostream& out) const
  {
    out << "constexpr char kTexts[][kTextBlock] = {\n";
    for (const std::string& block : blocks)
      out << '"' << block << "\",\n";
    out << "};\n";
  }

private:
  std::size_t add(const std::string& text)
  {
    if (blocks.empty() || used + text.size() + 1 >= kTextBlock) // the literal ends with a NUL of its own
    {
      blocks.emplace_back();
      used = blocks.size() == 1 ? 1 : 0; // place 0 stands for null
      blocks.back() = used == 1 ? "\\0" : "";
    }
    const std::size_t place = (blocks.size() - 1) * kTextBlock + used;
    used += text.size() + 1;
    for (const char c : text)
      blocks.back() += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    blocks.back() += "\\0\"\""; // a digit that follows is no part of the escape
    return places[text] = place;
  }

  std::map<std::string, std::size_t> places;
  std::vector<std::string> blocks; ///< as they stand in a literal
  std::size_t used = 0;            ///< bytes of the last block
};

void writeRow(std::ostream& out, Texts& texts, const DcmDictEntry& entry)
{
  out << '{' << entry.getGroup() << ',' << entry.getElement() << ',' << entry.getUpperGroup() << ','
      << entry.getUpperElement() << ',' << entry.getGroupRangeRestriction() << ',' << entry.getElementRangeRestriction()
      << ',' << static_cast<int>(entry.getEVR()) << ',' << entry.getVMMin() << ',' << entry.getVMMax() << ','
      << texts.place(entry.getTagName()) << ',' << texts.place(entry.getStandardVersion()) << ','
      << texts.place(entry.getPrivateCreator()) << "},\n";
}

bool writeTables(std::ostream& out, DcmDataDictionary& dictionary)
{
  Texts texts;
  out << "constexpr Attribute kRepeatingAttributes[] = {\n";
  for (auto entry = dictionary.repeatingBegin(); entry != dictionary.repeatingEnd(); ++entry)
    writeRow(out, texts, **entry);
  std::vector<const DcmDictEntry*> single;
  for (auto entry = dictionary.normalBegin(); entry != dictionary.normalEnd(); ++entry)
    single.push_back(*entry);
  const auto place = [](const DcmDictEntry* entry)
  {
    return std::tuple(entry->getGroup(), entry->getElement(),
                      std::string(entry->getPrivateCreator() ? entry->getPrivateCreator() : ""));
  };
  std::sort(single.begin(), single.end(), [&](const auto* a, const auto* b) { return place(a) < place(b); });
  out << "};\nconstexpr Attribute kAttributes[] = {\n";
  for (const DcmDictEntry* entry : single)
    writeRow(out, texts, *entry);
  out << "};\n";
  texts.write(out);
  return static_cast<bool>(out.flush());
}

} // namespace

int main(int argc, char** argv)
{
  if (argc != 2 || !dcmDataDict.isDictionaryLoaded())
  {
    std::cerr << "make_dictionary: usage: make_dictionary FILE; the toolkit's dictionary must be installed\n";
    return 1;
  }
  std::ofstream out(argv[1]);
  const bool good = writeTables(out, dcmDataDict.wrlock());
  dcmDataDict.wrunlock();
  return good ? 0 : 1;
}
