#include "images/StudyObjects.h"

#include <utility>

namespace impsconverter
{

StudyObjects::StudyObjects(tarn::db::DBConnector& database, std::string studyUid)
  : db(database), study(std::move(studyUid))
{
}

const tarn::db::ObjectRecord* StudyObjects::find(const std::string& name)
{
  auto known = remembered.find(name);
  if (known == remembered.end())
  {
    tarn::db::ObjectRecord record;
    const bool found = db.objects().findObject(study, name, record);
    if (remembered.size() == kMostRemembered)
      remembered.clear();
    known = remembered.emplace(name, found ? std::make_optional(std::move(record)) : std::nullopt).first;
  }
  return known->second ? &*known->second : nullptr;
}

} // namespace impsconverter
