#include "study/meta/storeState.h"

#include "db/DBConnector.h"
#include "db/DeviceAccessor.h"
#include "base/IMException.h"
#include "support/SelfRec.h"

#include <cstdlib>
#include <fstream>
#include <list>
#include <string>

namespace tarn::utils
{
namespace
{

std::string processMode()
{
  return imutils::SelfRec::Instance()->getProperty("ProcessMode") == "Store" ? "Store" : "Process";
}

std::string forwardDeviceNames(const char* targetTable, const char* serviceTable, const MetaConn& conn)
{
  if (!conn.connector())
    throw imutils::IMException("no database connection");
  std::list<db::DeviceRecord> devices;
  conn.connector()->devices().listAutoForwardDevices(targetTable, serviceTable, devices);
  std::string names;
  for (const db::DeviceRecord& device : devices)
    if (device.type == 'P' || device.type == 'C')
      names += (names.empty() ? "" : " ") + device.name;
  return names;
}

} // namespace

void writeForwardDevices(std::ostream& stream, const MetaConn& conn, Logger& logger)
{
  const char* targetTable = std::getenv("TARGETTBL");
  const char* serviceTable = std::getenv("DEVSERVTBL");
  if (!targetTable || !serviceTable)
    throw imutils::IMException("Missing environment variables:  TARGETTBL, DEVSERVTBL");
  std::string names;
  try
  {
    names = forwardDeviceNames(targetTable, serviceTable, conn);
  }
  catch (const std::exception& failure)
  {
    logger.logV("Error getting autoforward devices: %s", failure.what());
  }
  stream << "ForwardDevices=\"" << names << "\"\n";
}

bool writeDefaultStoreState(const std::filesystem::path& file, const MetaConn& conn, Logger& logger)
{
  std::ofstream stream(file, std::ios::trunc);
  stream << "Version=\"1\"\n"
         << "ProcessMode=\"" << processMode() << "\"\n"
         << "StudyOwner=\"yes\"\n";
  writeForwardDevices(stream, conn, logger);
  stream.close();
  return stream.good();
}

} // namespace tarn::utils
