#include "photos/JpegRows.h"

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdint>

#include <jpeglib.h>  // takes FILE and size_t from above

#include <jerror.h>

namespace kv {
namespace {

// Larger than libjpeg's own 4 KiB: at the end of each block its fast decoder gives way to a slow one.
constexpr std::size_t kBlockBytes = 64 * 1024;

}  // namespace

// libjpeg ends at an error by a jump. It crosses libjpeg's own functions and the member function that called them, which
// therefore holds no object with a destructor.
struct JpegRows::State {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors{};
  jpeg_source_mgr source{};
  std::jmp_buf escape;
  bool isPicture = false;  // the header has been read
  bool hasWarned = false;  // in the header
  std::array<char, JMSG_LENGTH_MAX> complaint{};
  std::FILE* const file;  // null for a file in memory
  const std::string_view memory;
  std::array<JOCTET, kBlockBytes> block;

  State(std::FILE* openFile, std::string_view fileInMemory) : file(openFile), memory(fileInMemory) {
    decoder.err = jpeg_std_error(&errors);
    decoder.client_data = this;
    errors.error_exit = [](j_common_ptr any) { Of(any).Escape(); };
    errors.emit_message = [](j_common_ptr any, int level) {
      if (level >= 0) return;  // not a warning
      if (Of(any).isPicture) Of(any).Escape();
      Of(any).hasWarned = true;  // of stray bytes, for example
    };
  }
  ~State() { jpeg_destroy_decompress(&decoder); }

  static State& Of(j_common_ptr any) { return *static_cast<State*>(any->client_data); }
  static State& Of(j_decompress_ptr any) { return *static_cast<State*>(any->client_data); }

  [[noreturn]] void Escape() {
    errors.format_message(reinterpret_cast<j_common_ptr>(&decoder), complaint.data());
    std::longjmp(escape, 1);
  }

  void Open() {
    jpeg_create_decompress(&decoder);
    if (!file)
      return jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char*>(memory.data()),
                          static_cast<std::uint32_t>(memory.size()));
    source.init_source = source.term_source = [](j_decompress_ptr) {};
    source.resync_to_restart = jpeg_resync_to_restart;
    source.fill_input_buffer = [](j_decompress_ptr any) -> boolean {
      Of(any).Fill();
      return TRUE;
    };
    source.skip_input_data = [](j_decompress_ptr any, long bytes) {
      if (bytes > 0) Of(any).Skip(static_cast<std::size_t>(bytes));
    };
    decoder.src = &source;
  }

  void Fill() {
    source.next_input_byte = block.data();
    source.bytes_in_buffer = std::fread(block.data(), 1, block.size(), file);
    if (source.bytes_in_buffer > 0) return;
    if (std::ferror(file)) ERREXIT(&decoder, JERR_FILE_READ);
    if (!isPicture) ERREXIT(&decoder, JERR_INPUT_EOF);
    WARNMS(&decoder, JWRN_JPEG_EOF);  // does not return
  }

  void Skip(std::size_t bytes) {
    while (bytes > source.bytes_in_buffer) {
      bytes -= source.bytes_in_buffer;
      Fill();
    }
    source.next_input_byte += bytes;
    source.bytes_in_buffer -= bytes;
  }
};

JpegRows::JpegRows(std::FILE* file) : state_(std::make_unique<State>(file, std::string_view())) {}

JpegRows::JpegRows(std::string_view file) : state_(std::make_unique<State>(nullptr, file)) {}

JpegRows::~JpegRows() = default;

bool JpegRows::ReadHeader() {
  if (setjmp(state_->escape)) return false;
  state_->Open();
  jpeg_read_header(&state_->decoder, TRUE);
  state_->isPicture = true;
  return true;
}

cv::Size JpegRows::Size() const {
  return {static_cast<int>(state_->decoder.image_width), static_cast<int>(state_->decoder.image_height)};
}

int JpegRows::Components() const { return state_->decoder.num_components; }

bool JpegRows::IsArithmetic() const { return state_->decoder.arith_code; }

std::size_t JpegRows::BytesOfSeveralScans() const {
  jpeg_decompress_struct& decoder = state_->decoder;
  std::size_t blocks = 0;
  for (int i = 0; i < decoder.num_components && jpeg_has_multiple_scans(&decoder); ++i)
    blocks += std::size_t{decoder.comp_info[i].width_in_blocks} * decoder.comp_info[i].height_in_blocks;
  return blocks * sizeof(JBLOCK);
}

bool JpegRows::Begin() {
  jpeg_decompress_struct& decoder = state_->decoder;
  if (state_->hasWarned || (decoder.num_components != 1 && decoder.num_components != 3)) return false;
  if (setjmp(state_->escape)) return false;
  decoder.out_color_space = JCS_EXT_BGRX;
  jpeg_start_decompress(&decoder);
  return true;
}

bool JpegRows::Read(cv::Mat& rows) {
  if (setjmp(state_->escape)) return false;
  for (int row = 0; row < rows.rows;) {
    JSAMPROW pixels = rows.ptr(row);
    row += static_cast<int>(jpeg_read_scanlines(&state_->decoder, &pixels, 1));
  }
  return true;
}

bool JpegRows::End() {
  if (setjmp(state_->escape)) return false;
  jpeg_finish_decompress(&state_->decoder);
  return true;
}

void JpegRows::Check() {
  jpeg_decompress_struct& decoder = state_->decoder;
  if (setjmp(state_->escape)) return;
  decoder.scale_num = 1;
  decoder.scale_denom = 8;
  decoder.out_color_space = decoder.jpeg_color_space;
  jpeg_start_decompress(&decoder);
  const JDIMENSION width = decoder.output_width * static_cast<JDIMENSION>(decoder.output_components);
  JSAMPARRAY row = decoder.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&decoder), JPOOL_IMAGE, width, 1);
  while (decoder.output_scanline < decoder.output_height) jpeg_read_scanlines(&decoder, row, 1);
  jpeg_finish_decompress(&decoder);
}

std::string JpegRows::Complaint() const { return state_->complaint.data(); }

std::string JpegDamage(std::string_view file) {
  JpegRows rows(file);
  if (rows.ReadHeader()) rows.Check();
  return rows.Complaint();
}

}  // namespace kv
