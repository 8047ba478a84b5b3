// The object table, asked once for each image of a run.
#include "images/StudyObjects.h"

#include <utility>

namespace tarn::images
{

StudyObjects::StudyObjects(db::DBConnector& db, std::string studyUid) : db(db), studyUid(std::move(studyUid)) {}

const db::ObjectRecord* StudyObjects::find(const std::string& name)
{
  auto known = remembered.find(name);
  if (known == remembered.end())
  {
    db::ObjectRecord record;
    const bool found = db.objects().findObject(studyUid, name, record);
    if (remembered.size() == kMostRemembered)
      remembered.clear();
    known = remembered.emplace(name, found ? std::make_optional(std::move(record)) : std::nullopt).first;
  }
  return known->second ? &*known->second : nullptr;
}

} // namespace tarn::images
