#pragma once

#include "bench/BenchStates.h"

#include "db/DBConnectorSql.h"
#include "db/Transaction.h"

#include <string>

namespace bench
{

/// Makes the images of the inputs known to the object table.
inline void registerImages(tarn::db::DBConnectorSql& db, const std::string& studyUid, int images)
{
  tarn::db::Transaction transaction(db);
  for (int image = 0; image < images; ++image)
    db.query("INSERT INTO objects VALUES(?,?,?,?,?,512,512,1) ON DUPLICATE KEY UPDATE FNAME=FNAME", studyUid,
             imageName(image), UID_CTImageStorage, kImageRoot + std::to_string(image), "1.2.3");
  transaction.commit();
}

} // namespace bench
