// The store state that a meta directory gets when it has none.
#include "study/meta/storeState.h"

#include "base/IMException.h"
#include "base/files.h"
#include "db/DeviceAccessor.h"
#include "support/SelfRec.h"

#include <cstdlib>
#include <list>

namespace tarn::study
{
namespace
{

using imutils::IMException;

std::string forwardDeviceNames(const char* targetTable, const char* serviceTable, db::DBConnector* db)
{
  if (!db)
    throw IMException("no database connection");
  std::list<db::DeviceRecord> devices;
  db->devices().listAutoForwardDevices(targetTable, serviceTable, devices);
  std::string names;
  for (const db::DeviceRecord& device : devices)
    if (device.type == 'P' || device.type == 'C')
      names += (names.empty() ? "" : " ") + device.name;
  return names;
}

} // namespace

std::string processMode()
{
  return imutils::SelfRec::Instance()->getProperty("ProcessMode") == "Store" ? "Store" : "Process";
}

std::string forwardDevicesLine(db::DBConnector* db, utils::Logger& logger)
{
  // A variable that is set to nothing is set: its empty name is what the database refuses.
  const char* const targetTable = secure_getenv("TARGETTBL");
  const char* const serviceTable = secure_getenv("DEVSERVTBL");
  if (!targetTable || !serviceTable)
    throw IMException("Missing environment variables:  TARGETTBL, DEVSERVTBL");
  std::string names;
  try
  {
    names = forwardDeviceNames(targetTable, serviceTable, db);
  }
  catch (const std::exception& failure)
  {
    logger.logV("Error getting autoforward devices: %s", failure.what());
  }
  return "ForwardDevices=\"" + names + "\"\n";
}

std::string defaultStoreState(db::DBConnector* db, utils::Logger& logger)
{
  const std::string start = "Version=\"1\"\nProcessMode=\"" + processMode() + "\"\nStudyOwner=\"yes\"\n";
  return start + forwardDevicesLine(db, logger);
}

bool writeStoreState(const std::filesystem::path& file, const std::string& text)
{
  base::Fd target = base::emptyFile(file);
  return target && base::writeAll(target, text) && target.close();
}

} // namespace tarn::study
