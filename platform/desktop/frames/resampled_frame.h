// Scaled parts of frames.
#ifndef PLATFORM_DESKTOP_FRAMES_RESAMPLED_FRAME_H_
#define PLATFORM_DESKTOP_FRAMES_RESAMPLED_FRAME_H_

#include <cstring>

#include "platform/desktop/frames/frame.h"
#include "platform/pixels/resample.h"

namespace qrv::desktop {

// The region of the source that the maps read. Neither map is empty.
inline PixelRect SourceOf(const pixels::AxisMap& columns, const pixels::AxisMap& rows) {
  return {columns.FirstSource(), rows.FirstSource(), columns.EndOfSource() - columns.FirstSource(),
          rows.EndOfSource() - rows.FirstSource()};
}

// Scales `source`, which is that region, by the maps. Returns it unchanged where the maps scale
// nothing. Throws std::bad_alloc.
inline Frame Resampled(const Frame& source, const pixels::AxisMap& columns,
                       const pixels::AxisMap& rows) {
  if (columns.IsUnscaled() && rows.IsUnscaled()) return source;
  Frame frame = NewFrame(static_cast<int32_t>(columns.size()), static_cast<int32_t>(rows.size()));
  pixels::Resampler resampler(columns, rows, source.pixels, source.rowBytes);
  for (int32_t y = 0; y < frame.height; ++y) {
    std::memcpy(FrameRow(frame, y), resampler.Row(static_cast<size_t>(y)), frame.rowBytes);
  }
  return frame;
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_RESAMPLED_FRAME_H_
