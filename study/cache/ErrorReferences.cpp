// Attaches error references, many in one transaction.
#include "study/cache/ErrorReferences.h"

#include "db/DBConnectorSql.h"
#include "db/ReferenceAccessor.h"
#include "db/Transaction.h"
#include "study/cache/guarded.h"

namespace tarn::study
{
namespace
{

constexpr char kErrorReference[] = "ocerror";
constexpr char kStudyKind[] = "STUDYDIR";
constexpr char kObjectKind[] = "OBJECTFILE";
constexpr std::size_t kReferencesTogether = 300;

} // namespace

bool ErrorReferences::isOn(const std::string& studyUid) const
{
  bool found = false;
  guarded([&] { found = db.references().hasReference(studyUid, kStudyKind, kErrorReference); }, logger,
          "checking ocerror references on STUDYDIR/%s failed with exception: %s", studyUid);
  return found;
}

void ErrorReferences::add(const std::string& studyUid, const std::set<std::string>& files) const
{
  std::vector<std::string> keys;
  for (const std::string& file : files)
  {
    keys.push_back(std::string(studyUid).append("/").append(file));
    if (keys.size() == kReferencesTogether)
    {
      addToObjects(keys);
      keys.clear();
    }
  }
  addToObjects(keys);
  addOne(studyUid, kStudyKind);
}

/// Adds all of them in one transaction, which is much faster than one for each. Where that fails, adds them one by one,
/// so that what is wrong with one does not keep the reference from the others.
void ErrorReferences::addToObjects(const std::vector<std::string>& keys) const
{
  try
  {
    db::Transaction transaction(dynamic_cast<db::DBConnectorSql&>(db));
    for (const std::string& key : keys)
      db.references().addReference(key, kObjectKind, kErrorReference);
    transaction.commit();
  }
  catch (const std::exception&)
  {
    for (const std::string& key : keys)
      addOne(key, kObjectKind);
  }
}

void ErrorReferences::addOne(const std::string& key, const std::string& kind) const
{
  guarded([&] { db.references().addReference(key, kind, kErrorReference); }, logger,
          "Adding error references to %s/%s failed with exception: %s", kind, key);
}

} // namespace tarn::study
