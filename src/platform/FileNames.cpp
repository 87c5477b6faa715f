#include "platform/FileNames.h"

#include <cerrno>
#include <system_error>

namespace kv {
namespace {

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;
constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kRawByteBase = 0xDC00;  // a byte that is not UTF-8 is stored as this plus its value

constexpr bool IsSurrogate(char32_t c) { return c >= 0xD800 && c < 0xE000; }
constexpr bool IsRawByte(char32_t c) { return c >= kRawByteBase + 0x80 && c < kRawByteBase + 0x100; }

struct Decoded {
  char32_t character;
  std::size_t bytes;
};

// One character of UTF-8; a malformed, overlong or surrogate sequence gives its first byte as a raw byte.
Decoded DecodeUtf8(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  const Decoded raw{kRawByteBase + lead, 1};
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return raw;
  char32_t character = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return raw;
    character = character << 6 | (byte(i) & 0x3Fu);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  if (overlong || IsSurrogate(character) || character > 0x10FFFF) return raw;
  return {character, length};
}

void AppendUtf8(char32_t c, std::string& text) {
  const auto append = [&](char32_t byte) { text += static_cast<char>(byte); };
  const auto appendTail = [&](int shift) { append(0x80 | (c >> shift & 0x3F)); };
  if (IsRawByte(c)) return append(c - kRawByteBase);
  if (IsSurrogate(c) || c > 0x10FFFF) c = kReplacement;
  if (c < 0x80) return append(c);
  if (c < 0x800) {
    append(0xC0 | c >> 6);
  } else if (c < 0x10000) {
    append(0xE0 | c >> 12);
    appendTail(6);
  } else {
    append(0xF0 | c >> 18);
    appendTail(12);
    appendTail(6);
  }
  appendTail(0);
}

void AppendWide(char32_t c, std::wstring& text) {
  if (kWideIsUtf16 && c >= 0x10000) {
    text += static_cast<wchar_t>(0xD7C0 + (c >> 10));
    c = 0xDC00 + (c & 0x3FF);
  }
  text += static_cast<wchar_t>(c);
}

enum class RawBytes { Keep, Replace };

std::string Encoded(std::wstring_view text, RawBytes rawBytes) {
  std::string utf8;
  utf8.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto c = static_cast<char32_t>(text[i]);
    const bool isPair = kWideIsUtf16 && c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() &&
                        text[i + 1] >= wchar_t{0xDC00} && text[i + 1] <= wchar_t{0xDFFF};
    if (isPair) c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[++i]) - 0xDC00);
    if (rawBytes == RawBytes::Replace && IsRawByte(c)) c = kReplacement;
    AppendUtf8(c, utf8);
  }
  return utf8;
}

/// A new file in a folder. The destructor removes it unless it was renamed.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& folder) {
    int number = 0;
    do {
      errno = 0;
      path_ = folder / (".kvutilities-" + std::to_string(number++) + ".tmp");
      file_ = OpenFile(WidePath(path_), "wbx");  // x: never opens a file that another process is writing or left there
    } while (!file_ && errno == EEXIST);
    created_ = file_ != nullptr;
  }
  ~TemporaryFile() {
    file_.reset();
    std::error_code ignored;
    if (created_) std::filesystem::remove(path_, ignored);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  bool Write(std::span<const unsigned char> content) {
    if (!file_ || std::fwrite(content.data(), 1, content.size(), file_.get()) != content.size()) return false;
    const bool onDisk = FlushToDisk(file_.get());
    return std::fclose(file_.release()) == 0 && onDisk;
  }

  bool MoveOver(const std::filesystem::path& file) {
    if (!RenameOver(path_, file)) return false;
    created_ = false;
    return true;
  }

 private:
  std::filesystem::path path_;
  FilePtr file_;
  bool created_ = false;
};

}  // namespace

std::wstring WideFromUtf8(std::string_view text) {
  std::wstring wide;
  wide.reserve(text.size());
  while (!text.empty()) {
    const auto [character, bytes] = DecodeUtf8(text);
    AppendWide(character, wide);
    text.remove_prefix(bytes);
  }
  return wide;
}

std::string Utf8FromWide(std::wstring_view text) { return Encoded(text, RawBytes::Keep); }
std::string Utf8(const std::wstring& text) { return Encoded(text, RawBytes::Replace); }
std::string Utf8(const std::filesystem::path& path) { return Utf8(WidePath(path)); }

FilePtr OpenFile(std::wstring_view path, const char* mode) { return OpenNative(NativePath(path), mode); }

bool PathExists(std::wstring_view path) {
  std::error_code error;
  return std::filesystem::exists(NativePath(path), error);
}

std::optional<std::uint64_t> FileSize(std::wstring_view path) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(NativePath(path), error);
  return error ? std::nullopt : std::optional(size);
}

bool IsSameFile(std::wstring_view a, std::wstring_view b) {
  std::error_code error;
  return std::filesystem::equivalent(NativePath(a), NativePath(b), error);
}

bool RemoveFile(std::wstring_view path) {
  std::error_code error;
  return std::filesystem::remove(NativePath(path), error);
}

bool ReplaceFileContent(std::wstring_view path, std::span<const unsigned char> content) {
  std::error_code error;
  const std::filesystem::path file = std::filesystem::canonical(NativePath(path), error);
  // A rename would replace even a write-protected file.
  if (error || !OpenFile(WidePath(file), "rb+")) return false;
  TemporaryFile temporary(file.parent_path());
  return temporary.Write(content) && temporary.MoveOver(file);
}

}  // namespace kv
