// The toolkit's log lines as lines of the program's own log.
#include "dicom/toolkitLog.h"

#include "base/IMLogger.h"
#include "dicom/attributeTable.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctag.h>
#include <dcmtk/oflog/appender.h>
#include <dcmtk/oflog/logger.h>
#include <dcmtk/oflog/oflog.h>
#include <dcmtk/oflog/spi/logevent.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace tarn::dicom
{
namespace
{

namespace log4cplus = dcmtk::log4cplus;

/// A damaged file can make the toolkit warn of each of a million elements.
constexpr std::uint64_t kMostLines = 1000;

/// A message with the name of the attribute that it speaks of: the toolkit asks its dictionary, which may not be
/// complete yet (dictionary.h), and writes the tag behind the name.
std::string withName(std::string message)
{
  constexpr std::string_view kNoName = DcmTag_ERROR_TagName;
  const std::size_t place = message.find(kNoName);
  unsigned group = 0;
  unsigned element = 0;
  if (place == std::string::npos ||
      std::sscanf(message.c_str() + place + kNoName.size(), " (%4x,%4x)", &group, &element) != 2)
    return message;
  const char* const name = attributeName(static_cast<Uint16>(group), static_cast<Uint16>(element));
  return name ? message.replace(place, kNoName.size(), name) : message;
}

class LoggerAppender : public log4cplus::Appender
{
public:
  ~LoggerAppender() override { destructorImpl(); }
  void close() override { closed = true; }

protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override
  {
    if (++lines > kMostLines)
      return;
    if (lines == kMostLines)
      logger.errorLog("The toolkit has more to say than is logged");
    else if (event.getLogLevel() >= OFLogger::ERROR_LOG_LEVEL)
      logger.errorLog("%s", withName(event.getMessage().c_str()).c_str());
    else
      logger.infoLog("%s", withName(event.getMessage().c_str()).c_str());
  }

private:
  imutils::IMLogger logger{"DCMTK"};
  std::uint64_t lines = 0;
};

} // namespace

void redirectToolkitLog()
{
  // The default configuration adds its own appender when it comes first to be used: let it, then replace it.
  OFLog::configure(OFLogger::WARN_LOG_LEVEL);
  log4cplus::Logger root = log4cplus::Logger::getRoot();
  root.removeAllAppenders();
  root.addAppender(log4cplus::SharedAppenderPtr(new LoggerAppender));
}

} // namespace tarn::dicom
