#pragma once

#include "archive/run/Frames.h"

#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

namespace tarn::archive
{

/// Draws in a process of its own: the decoders of images are not ours, and an image that ends one costs its own picture
/// alone.
class DrawingProcess
{
public:
  /// Draws a state into a file. Throws picture::Refusal.
  using Draw = std::function<void(const std::string& state, const std::string& file)>;

  /// `make` is called in the process when it begins, and may throw picture::Refusal.
  explicit DrawingProcess(std::function<Draw()> make) : make(std::move(make)) {}
  ~DrawingProcess() { end(); }
  DrawingProcess(const DrawingProcess&) = delete;
  DrawingProcess& operator=(const DrawingProcess&) = delete;

  /// Returns nothing where it is drawn, else "CODE: reason". A process that died, or that had no answer for five
  /// minutes, is followed by a new one.
  std::string draw(const std::string& state, const std::string& file);

private:
  void begin();
  void serve(FrameReader& reader, const base::Fd& out) const;
  std::string answer();
  void end();

  std::function<Draw()> make;
  pid_t child = 0; ///< 0: none
  base::Fd orders;
  std::optional<FrameReader> answers;
};

} // namespace tarn::archive
