#pragma once

#include <ostream>
#include <streambuf>
#include <string>

namespace tarn::base
{

/// Passes text on to another stream line by line, as printable() shows it, with its line ends and tabs. What is left of
/// a line passes when the stream is flushed or goes.
class PrintableStream : public std::ostream
{
public:
  /// `target` is borrowed.
  explicit PrintableStream(std::ostream& target) : std::ostream(nullptr), lines(target) { rdbuf(&lines); }

private:
  class Lines : public std::streambuf
  {
  public:
    explicit Lines(std::ostream& target) : target(target) {}
    ~Lines() override;
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

  private:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* text, std::streamsize length) override;
    int sync() override;
    bool pass(std::size_t length);

    std::ostream& target;
    std::string held; ///< the beginning of a line
  };

  Lines lines;
};

} // namespace tarn::base
