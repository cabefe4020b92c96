#include "cli/image/image_file.h"

#include <webp/encode.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

constexpr int32_t kMaxSide = 16383;  // pixels
constexpr int kDefaultLevel = 1;     // half the time of the library's own default

WebPConfig ConfigOf(const Encoding& encoding) {
  WebPConfig config;
  if (encoding.quality) {
    WebPConfigPreset(&config, WEBP_PRESET_TEXT, static_cast<float>(*encoding.quality));
  } else {
    WebPConfigInit(&config);
    WebPConfigLosslessPreset(&config, encoding.compression.value_or(kDefaultLevel));
    config.exact = 1;  // the colours of transparent pixels stay too
  }
  config.thread_level = 1;
  return config;
}

int ShowProgress(int percent, const WebPPicture* picture) {
  static_cast<OutputFile*>(picture->user_data)->ShowProgress(percent, 100);
  return 1;
}

void Write(const Rows& rows, const Encoding& encoding, OutputFile& file) {
  const WebPConfig config = ConfigOf(encoding);
  std::vector<uint8_t> rgba(static_cast<size_t>(rows.width) * static_cast<size_t>(rows.height) * 4);
  for (int32_t y = 0; y < rows.height; ++y) {
    rows.read(y, rgba.data() + static_cast<size_t>(y) * static_cast<size_t>(rows.width) * 4);
  }
  WebPMemoryWriter writer;
  WebPMemoryWriterInit(&writer);
  const std::unique_ptr<WebPMemoryWriter, decltype(&WebPMemoryWriterClear)> clear(
      &writer, WebPMemoryWriterClear);
  WebPPicture picture;
  WebPPictureInit(&picture);
  const std::unique_ptr<WebPPicture, decltype(&WebPPictureFree)> release(&picture, WebPPictureFree);
  picture.use_argb = encoding.quality ? 0 : 1;
  picture.width = rows.width;
  picture.height = rows.height;
  picture.writer = WebPMemoryWrite;
  picture.custom_ptr = &writer;
  picture.progress_hook = ShowProgress;
  picture.user_data = &file;
  const auto import = rows.hasTransparency ? WebPPictureImportRGBA : WebPPictureImportRGBX;
  if (import(&picture, rgba.data(), rows.width * 4) == 0) throw std::bad_alloc();
  if (WebPEncode(&config, &picture) == 0) {
    throw Failure(kCouldNotReadOrWrite,
                  file.Name() + ": the WebP library refuses this picture, with its error " +
                      std::to_string(picture.error_code) + ". Choose another format.");
  }
  file.Write(writer.mem, writer.size);
}

}  // namespace

// Without losses, or with the losses of the quality where one is wanted.
extern const ImageFormat kWebp = {"webp", true, true, kMaxSide, Write};

}  // namespace qrv::cli
