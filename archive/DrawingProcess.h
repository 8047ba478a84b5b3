#pragma once

#include "archive/run/Worker.h"

#include <functional>
#include <memory>
#include <string>

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

  /// Returns nothing where it is drawn, else "CODE: reason". A process that died, or that had no answer for five
  /// minutes, is followed by a new one.
  std::string draw(const std::string& state, const std::string& file);

private:
  void serve(WorkerSide& run) const;

  std::function<Draw()> make;
  WorkerState state;
  std::unique_ptr<Worker> worker; ///< null until it is needed, and after one ended
};

} // namespace tarn::archive
