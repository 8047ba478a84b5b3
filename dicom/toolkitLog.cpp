#include "dicom/toolkitLog.h"

#include "base/IMLogger.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/oflog/appender.h>
#include <dcmtk/oflog/logger.h>
#include <dcmtk/oflog/oflog.h>
#include <dcmtk/oflog/spi/logevent.h>

#include <cstdint>

namespace tarn::dicom
{
namespace
{

namespace log4cplus = dcmtk::log4cplus;

/// A damaged file can make the toolkit warn of each of a million elements.
constexpr std::uint64_t kMostLines = 1000;

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
      logger.errorLog("%s", event.getMessage().c_str());
    else
      logger.infoLog("%s", event.getMessage().c_str());
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
