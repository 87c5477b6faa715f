#pragma once

#include <KVMission.h>

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "readers/PosHeader.h"
#include "readers/PosSamples.h"

/// Lines of POS files in all their forms: what each is, and the samples among them in GPS time and WGS 84.
namespace kv::mission {

using namespace KVMission;

inline constexpr double kLargestLatitude = 90, kLargestLongitude = 360;  ///< degrees; what is beyond is garbled
inline constexpr double kLargestHeight = 1e5;                            ///< metres

/// Whether a line's first word begins like a number. Others are comments.
bool BeginsNumber(std::string_view line);

/// Reads lines one at a time. Stricter than the strict scan, which takes what is not finite for numbers.
/// @see docs/formats/pos.md
class PosLineReader {
 public:
  explicit PosLineReader(const PosForm& form = {}) { Use(form); }
  PosLineReader(const PosLineReader&) = delete;  // tokens look into it
  PosLineReader& operator=(const PosLineReader&) = delete;

  /// Sets what the header says of the lines that follow.
  void Use(const PosForm& form);
  const PosForm& Form() const { return form_; }

  /// @param line  must outlive what the functions below give
  PosLineKind Read(std::string_view line);

  // Of the latest line, if it is a sample:

  /// In GPS time and WGS 84. A height above the geoid stays as it is.
  const PosNumbers& Numbers() const { return numbers_; }
  /// The `kPosTokens` texts of a record. Those of a time or place that was converted are made of the numbers.
  std::span<const std::string_view> Tokens() const { return {tokens_.data(), kPosTokens}; }
  FixQuality Quality() const;
  /// The file's quality figure; 0 when there is none.
  int QualityFigure() const;
  /// "GPS week and seconds, degrees": the form of time and place
  std::string FormText() const;
  bool IsScaleAssumed() const { return isDated_ && !scale_; }  ///< a date and time of day of an unnamed scale

 private:
  using Buffer = std::array<std::string_view, 40>;

  PosLineKind ReadOther(std::string_view line);
  bool ReadTime(std::size_t at);
  PosLineKind ReadPlace(const PosLayout& layout);
  void MakeTokens(const PosLayout& layout);
  std::string_view Token(PosColumn column) const;

  PosForm form_;
  bool isUsual_ = true;  // most files are; their tokens go into the records as they are
  PosNumbers numbers_;
  std::array<std::string_view, kPosTokens> tokens_;

  // Of a line that is not usual:
  bool isOther_ = false, isDated_ = false;
  std::optional<TimeScale> scale_;
  PosPlace place_ = PosPlace::Geographic;
  std::size_t count_ = 0;
  Buffer all_;
  PosLayout layout_;
  std::array<std::string, 5> made_;  // texts
};

}  // namespace kv::mission
