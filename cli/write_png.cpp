#include "cli/write_png.h"

#include <spng.h>

#include <memory>
#include <vector>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

// The fastest level: on photographs the next two save less than a percent of the file.
constexpr int kDefaultCompression = 1;

struct EncoderDeleter {
  void operator()(spng_ctx* encoder) const { spng_ctx_free(encoder); }
};

int WriteBytes(spng_ctx* /*encoder*/, void* file, void* bytes, size_t length) {
  return static_cast<OutputFile*>(file)->Write(bytes, length) ? 0 : SPNG_IO_ERROR;
}

// Throws when the encoder reports a failure, which is the file's in the first place.
void Require(int result, const OutputFile& file) {
  if (result == SPNG_IO_ERROR) {
    file.Fail();
  }
  if (result != SPNG_OK && result != SPNG_EOI) {
    throw Failure(kCouldNotReadOrWrite, std::string("The picture could not be encoded as PNG: ") +
                                            spng_strerror(result) + ". Try --format ppm.");
  }
}

void ChooseEncoding(spng_ctx* encoder, std::optional<int> compression, const OutputFile& file) {
  const int level = compression.value_or(kDefaultCompression);
  Require(spng_set_option(encoder, SPNG_IMG_COMPRESSION_LEVEL, level), file);
  Require(spng_set_option(encoder, SPNG_FILTER_CHOICE, SPNG_FILTER_CHOICE_UP), file);
}

void EncodeRows(spng_ctx* encoder, const Rows& rows, const OutputFile& file, Progress& progress) {
  const size_t pixelBytes = rows.hasTransparency ? 4 : 3;
  std::vector<uint8_t> row(static_cast<size_t>(rows.width) * 4);
  for (int32_t y = 0; y < rows.height; ++y) {
    rows.read(y, row.data());
    if (!rows.hasTransparency) {
      PackRgb(row.data(), rows.width);
    }
    Require(spng_encode_row(encoder, row.data(), static_cast<size_t>(rows.width) * pixelBytes),
            file);
    progress.Reach(y);
  }
}

}  // namespace

void WritePng(const Rows& rows, std::optional<int> compression, OutputFile& file,
              Progress& progress) {
  const std::unique_ptr<spng_ctx, EncoderDeleter> encoder(spng_ctx_new(SPNG_CTX_ENCODER));
  if (encoder == nullptr) {
    throw std::bad_alloc();
  }
  spng_ihdr header = {};
  header.width = static_cast<uint32_t>(rows.width);
  header.height = static_cast<uint32_t>(rows.height);
  header.bit_depth = 8;
  header.color_type =
      rows.hasTransparency ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
  Require(spng_set_png_stream(encoder.get(), WriteBytes, &file), file);
  Require(spng_set_ihdr(encoder.get(), &header), file);
  ChooseEncoding(encoder.get(), compression, file);
  Require(spng_encode_image(encoder.get(), nullptr, 0, SPNG_FMT_PNG,
                            SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE),
          file);
  EncodeRows(encoder.get(), rows, file, progress);
}

}  // namespace qrv::cli
