#include "export/ShapefileSet.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "export/ShapelibHooks.h"
#include "platform/FileNames.h"

namespace kv {
namespace {

constexpr const char* kAnsiCodePage = "LDID/87";  // the language driver byte of the .dbf

constexpr const char* kProjectionNotWritten = "Error writing to ...";

// The path of a file of the set, by shapelib's rule: a point at the very start does not begin an extension.
std::wstring FileOfSet(const std::wstring& path, const wchar_t* extension) {
  const std::size_t point = path.find_last_of(L"./\\");
  const bool hasExtension = point != std::wstring::npos && point > 0 && path[point] == L'.';
  return path.substr(0, hasExtension ? point : path.size()) + extension;
}

}  // namespace

ShapefileSet::ShapefileSet(const std::wstring& path, std::uint64_t largestBytes)
    : path_(path.c_str()),  // a NUL ends it, as in every file name
      largestBytes_(largestBytes),
      name_(Utf8FromWide(path_)),
      hooks_(BufferedHooks()) {
  ForgetHookFailure();
}

bool ShapefileSet::CreateShapes(int shapeType) {
  shapes_.reset(SHPCreateLL(name_.c_str(), shapeType, &hooks_));
  return shapes_ != nullptr;
}

bool ShapefileSet::CreateTable() {
  table_.reset(DBFCreateLL(name_.c_str(), kAnsiCodePage, &hooks_));
  return table_ != nullptr;
}

bool ShapefileSet::WriteProjection(std::string_view wkt, Projection need) {
  FilePtr file = OpenFile(FileOfSet(path_, L".prj"), "wb");
  if (!file) {
    if (need == Projection::Needed) return false;
    std::fprintf(stderr, "%s\n", kProjectionNotWritten);
  } else {
    const bool written = std::fwrite(wkt.data(), 1, wkt.size(), file.get()) == wkt.size();
    if (std::fclose(file.release()) != 0 || !written) return false;
  }
  FindLimitedFile();  // now that all files of the set exist
  return true;
}

bool ShapefileSet::AddColumn(const char* name, DBFFieldType type, int width, int decimals) {
  return DBFAddField(table_.get(), name, type, width, decimals) >= 0;
}

void ShapefileSet::FindLimitedFile() {
  const std::pair<const wchar_t*, SAFile> growing[] = {
      {L".shp", shapes_->fpSHP}, {L".shx", shapes_->fpSHX}, {L".dbf", table_->fp}};
  for (const auto& [extension, file] : growing) {
    if (IsSameFile(path_, FileOfSet(path_, extension))) limitedFile_ = file;
  }
  if (!limitedFile_) limitedSize_ = FileSize(path_).value_or(0);
}

bool ShapefileSet::IsOverLimit() const {
  return (limitedFile_ ? FileBehind(limitedFile_).Size() : limitedSize_) > largestBytes_;
}

// Like DBFWriteTuple but without its two loops over every byte: writes the previous row and the end mark. The new row
// lies in the table's own buffer, which closing writes.
char* ShapefileSet::BeginRow(int number) {
  DBFInfo& table = *table_;
  const auto bytes = static_cast<std::size_t>(table.nRecordLength);
  const bool isNext = number > 0 && number == table.nRecords && number == table.nCurrentRecord + 1;
  if (!isNext) {  // the first row, after the header
    std::string blanks(bytes, ' ');
    return DBFWriteTuple(&table, number, blanks.data()) ? table.pszCurrentRecord : nullptr;
  }
  BufferedFile& file = FileBehind(table.fp);
  file.Seek(static_cast<std::uint64_t>(table.nHeaderLength) + bytes * static_cast<std::uint64_t>(table.nCurrentRecord));
  const char endMark = 0x1A;
  if (char* const room = file.Claim(bytes + 1)) {
    std::memcpy(room, table.pszCurrentRecord, bytes);
    room[bytes] = endMark;
  } else if (!file.Write(table.pszCurrentRecord, bytes) || !file.Write(&endMark, 1)) {
    return nullptr;
  }
  table.nCurrentRecord = number;
  table.nRecords = number + 1;
  return table.pszCurrentRecord;
}

bool ShapefileSet::Close() {
  table_.reset();
  shapes_.reset();
  return !HasHookFailed();
}

}  // namespace kv
