#include "cli/image/image_file.h"

#include <setjmp.h>
#include <stddef.h>
#include <stdio.h>
// What the next one needs must come before it.
#include <jpeglib.h>

#include <cmath>
#include <memory>
#include <new>
#include <vector>

namespace qrv::cli {

namespace {

constexpr int kDefaultQuality = 90;

// A compressor whose only error is that memory ran out; it then jumps to `failed`.
struct Compressor {
  jpeg_compress_struct state = {};
  jpeg_error_mgr errors = {};
  jmp_buf failed;
  unsigned char* buffer = nullptr;
  unsigned long length = 0;

  Compressor() {
    state.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr common) {
      longjmp(static_cast<Compressor*>(common->client_data)->failed, 1);
    };
    errors.output_message = [](j_common_ptr) {};
    state.client_data = this;
  }
  ~Compressor() {
    jpeg_destroy_compress(&state);
    free(buffer);
  }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  // Each is false when memory ran out. No object lives in them that a jump would leave behind.
  bool Start(const Rows& rows, int quality, const std::string& comment) {
    if (setjmp(failed) != 0) return false;
    jpeg_create_compress(&state);
    jpeg_mem_dest(&state, &buffer, &length);
    state.image_width = static_cast<JDIMENSION>(rows.width);
    state.image_height = static_cast<JDIMENSION>(rows.height);
    state.input_components = 4;
    state.in_color_space = JCS_EXT_RGBX;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, quality, TRUE);
    for (int i = 0; i < state.num_components; ++i) {
      state.comp_info[i].h_samp_factor = 1;
      state.comp_info[i].v_samp_factor = 1;
    }
    if (rows.density != 1) {
      constexpr uint8_t kPerInch = 1;
      state.density_unit = kPerInch;
      state.X_density = static_cast<UINT16>(std::lround(rows.density * kDotsPerInch));
      state.Y_density = state.X_density;
    }
    jpeg_start_compress(&state, TRUE);
    jpeg_write_marker(&state, JPEG_COM, reinterpret_cast<const JOCTET*>(comment.data()),
                      static_cast<unsigned>(comment.size()));
    return true;
  }
  bool Add(JSAMPROW row) {
    if (setjmp(failed) != 0) return false;
    jpeg_write_scanlines(&state, &row, 1);
    return true;
  }
  bool Finish() {
    if (setjmp(failed) != 0) return false;
    jpeg_finish_compress(&state);
    return true;
  }
};

void Require(bool isDone) {
  if (!isDone) throw std::bad_alloc();
}

void Write(const Rows& rows, const Encoding& encoding, OutputFile& file) {
  std::vector<uint8_t> row(static_cast<size_t>(rows.width) * 4);
  const auto jpeg = std::make_unique<Compressor>();
  const std::string comment = std::string(kSoftware) + ", " + LocalTime();
  Require(jpeg->Start(rows, encoding.quality.value_or(kDefaultQuality), comment));
  for (int32_t y = 0; y < rows.height; ++y) {
    rows.read(y, row.data());
    Require(jpeg->Add(row.data()));
    file.ShowProgress(y, rows.height);
  }
  Require(jpeg->Finish());
  file.Write(jpeg->buffer, jpeg->length);
}

}  // namespace

// Without transparency, in full colour resolution, so that text stays sharp.
extern const ImageFormat kJpg = {"jpg", false, true, kMaxPictureSide, Write};
extern const ImageFormat kJpeg = {"jpeg", false, true, kMaxPictureSide, Write};

}  // namespace qrv::cli
