#include "crs/CoordinateSystemTransformer.h"

#include <cpl_conv.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "crs/GeodeticData.h"
#include "crs/GeoidGrids.h"
#include "crs/QuietErrors.h"
#include "crs/Wkt.h"
#include "platform/FileNames.h"

namespace {

constexpr std::wstring_view kOkText = L"OK";
constexpr const wchar_t* kSetFailed = L"Failed to set";
constexpr const wchar_t* kImportReturned = L"coordinate system from WKT.\nGDAL importFromWkt() returned ";
constexpr const wchar_t* kGetFailed = L"Error reported getting";
constexpr const wchar_t* kExportReturned = L"coordinate system\n. exportToWkt returned ";
constexpr const wchar_t* kSlotIsEmpty = L"coordinate system has not been set.";
constexpr const wchar_t* kSourceIsNotSet = L"The source coordinate system has not been set.";
constexpr const wchar_t* kTargetIsNotSet = L"The target coordinate system has not been set.";
constexpr const wchar_t* kSystemsAreNotSet = L"The coordinate systems have not been set.";
constexpr const wchar_t* kCreationFailed = L"Failed to create coordinate transformer object.";
constexpr const wchar_t* kMissingGeoid = L"Missing geoid file for";
constexpr const wchar_t* kVerticalSystem = L"vertical coordinate system.";
constexpr const wchar_t* kNotReady = L"The coordinate transformer has not be set up.";
constexpr const wchar_t* kTransformError = L"Error reported during transform operation.";
constexpr const wchar_t* kOnlyTargetIsVertical =
    L"A target vertical coordinate system was specified, but the source vertical coordinate system was not.";
constexpr const wchar_t* kUnknownClass = L"Unknown vertical datum class:";
constexpr const wchar_t* kExpectedClasses = L". Expected 2002(ellipsoidal) or 2005(orthometric).";

// The blanks join the words of the messages.
const wchar_t* SlotWord(int slot) { return slot == 0 ? L" source " : L" target "; }

bool AllFinite(const double* x, const double* y, const double* z, int count) {
  for (int i = 0; i < count; ++i) {
    if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || !std::isfinite(z[i])) return false;
  }
  return true;
}

/// For a geographic system. Short of memory, GDAL takes it for another kind or leaves latitudes first, and does not say so:
/// two answers in a row must agree.
void PutLongitudesFirst(OGRSpatialReference& system) {
  std::vector<int> order{0}, before;  // at first no order of axes
  do {
    before = order;
    if (system.IsGeographic()) system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    order = system.GetDataAxisToSRSAxisMapping();
  } while (order != before);
}

/// GDAL leaves the choice of the operation to PROJ, which makes it for each point, unless these settings say otherwise.
bool LeavesChoiceToProj() {
  const char* const selection = CPLGetConfigOption("OGR_CT_OP_SELECTION", "PROJ");
  return EQUAL(selection, "PROJ") && !CPLGetConfigOption("OSR_USE_APPROX_TMERC", nullptr);
}

}  // namespace

CoordinateSystemTransformer::CoordinateSystemTransformer() {
  const kv::QuietErrors quiet;
  dataRoot_ = kv::GeodeticDataRoot();
  projSearchPath_ = kv::SetUpGeodeticData(dataRoot_);
}

int CoordinateSystemTransformer::Done() {
  lastMessage_ = kOkText;
  return kOk;
}

int CoordinateSystemTransformer::Fail(Result result, std::wstring message) {
  lastMessage_ = std::move(message);
  return result;
}

std::wstring CoordinateSystemTransformer::PrepareVerticalWkt(const std::wstring& wkt) const {
  const kv::QuietErrors quiet;
  OGRSpatialReference system;
  if (kv::ImportWkt(kv::Utf8FromWide(wkt), system) != OGRERR_NONE) return wkt;
  if (!kv::IsThreeDimensional(system) || !kv::IsCompound(system)) return wkt;
  if (kv::VerticalClassOf(system) == kv::kEllipsoidal || kv::NamedGridExists(system, dataRoot_)) return wkt;
  const std::string grid = kv::ListedGrid(dataRoot_, kv::LookupKey(system));
  if (!grid.empty()) kv::NameGrid(grid, system);
  std::string prepared;
  kv::ExportWkt(system, prepared);
  return prepared.empty() ? wkt : kv::WideFromUtf8(prepared);
}

int CoordinateSystemTransformer::Setup(const std::wstring& sourceWkt, const std::wstring& targetWkt,
                                       std::wstring& error) {
  error.clear();
  int result = SetCoordinateSystem(0, kv::Utf8FromWide(sourceWkt));
  if (result == kOk) result = SetCoordinateSystem(1, kv::Utf8FromWide(targetWkt));
  if (result == kOk) result = CreateTransformer();
  if (result != kOk) error = lastMessage_;
  return result;
}

int CoordinateSystemTransformer::SetCoordinateSystem(int slot, const std::string& wkt) {
  const kv::QuietErrors quiet;
  std::unique_ptr<OGRSpatialReference>& system = slot == 0 ? source_ : target_;
  system = std::make_unique<OGRSpatialReference>();
  const OGRErr error = kv::ImportWkt(wkt, *system);
  PutLongitudesFirst(*system);
  if (error != OGRERR_NONE) {
    system.reset();
    return Fail(kImportFailed,
                std::wstring(kSetFailed) + SlotWord(slot) + kImportReturned + std::to_wstring(error) + L".");
  }
  transformation_.reset();
  return Done();
}

int CoordinateSystemTransformer::CreateTransformer() {
  const kv::QuietErrors quiet;
  if (!source_ && !target_) return Fail(kNoSystems, kSystemsAreNotSet);
  // Swapped on purpose: callers rely on these codes with these sentences. `GetWkt` returns the code of the empty slot.
  if (!source_) return Fail(kNoTarget, kTargetIsNotSet);
  if (!target_) return Fail(kNoSource, kSourceIsNotSet);
  if (const int result = CheckHeights(); result != kOk) return result;
  takesEachPointByItself_ = LeavesChoiceToProj();
  transformation_.reset(OGRCreateCoordinateTransformation(source_.get(), target_.get()));
  return transformation_ ? Done() : Fail(kNoTransformation, kCreationFailed);
}

int CoordinateSystemTransformer::CheckHeights() {
  const bool sourceHasHeights = kv::IsThreeDimensional(*source_), targetHasHeights = kv::IsThreeDimensional(*target_);
  if (!sourceHasHeights && targetHasHeights) return Fail(kNoSourceHeights, kOnlyTargetIsVertical);
  if (!targetHasHeights) return kOk;
  const int sourceClass = kv::VerticalClassOf(*source_), targetClass = kv::VerticalClassOf(*target_);
  // Heights above one geoid on both sides need no grid.
  const bool bothOrthometric =
      sourceClass == kv::kOrthometric && (targetClass == kv::kOrthometric || source_->IsSameVertCS(target_.get()));
  if (bothOrthometric && GetGeoidKey(0) == GetGeoidKey(1)) return kOk;
  if (const int result = CheckVerticalClass(0, sourceClass); result != kOk) return result;
  return CheckVerticalClass(1, targetClass);
}

int CoordinateSystemTransformer::CheckVerticalClass(int slot, int datumClass) {
  if (datumClass == kv::kEllipsoidal) return kOk;
  if (datumClass != kv::kOrthometric) {
    return Fail(kUnknownVerticalClass, kUnknownClass + std::to_wstring(datumClass) + kExpectedClasses);
  }
  if (HasGeoidGrid(*InSlot(slot))) return kOk;
  return Fail(kNoGeoidGrid, std::wstring(kMissingGeoid) + SlotWord(slot) + kVerticalSystem);
}

int CoordinateSystemTransformer::Transform(double* x, double* y, double* z, int count) {
  if (!transformation_) return Fail(kNotSetUp, kNotReady);
  const kv::QuietErrors quiet;
  // GDAL's other calls end in this one but allocate twice per point. A code of 0 means success.
  errorCodes_.resize(static_cast<std::size_t>(count));
  const bool isDone = transformation_->TransformWithErrorCodes(count, x, y, z, nullptr, errorCodes_.data()) == TRUE;
  const auto isSuccess = [](int code) { return code == 0; };
  // Some transformations return values that are not finite and report success.
  if (!isDone || !std::all_of(errorCodes_.begin(), errorCodes_.end(), isSuccess) || !AllFinite(x, y, z, count)) {
    return Fail(kTransformFailed, kTransformError);
  }
  return Done();
}

int CoordinateSystemTransformer::GetWkt(int slot, std::string& wkt) {
  if (!InSlot(slot)) return Fail(slot == 0 ? kNoSource : kNoTarget, std::wstring(SlotWord(slot)) + kSlotIsEmpty);
  const kv::QuietErrors quiet;
  const OGRErr error = kv::ExportWkt(*InSlot(slot), wkt);
  if (error == OGRERR_NONE) return Done();
  return Fail(kExportFailed,
              std::wstring(kGetFailed) + SlotWord(slot) + kExportReturned + std::to_wstring(error) + L".");
}

bool CoordinateSystemTransformer::HasGeoidGrid(OGRSpatialReference& system) const {
  const kv::QuietErrors quiet;
  if (!kv::NamesGrid(system)) {
    const std::string grid = kv::ListedGrid(dataRoot_, kv::ComparisonKey(system));
    if (grid.empty()) return false;
    kv::NameGrid(grid, system);
  }
  return kv::NamedGridExists(system, dataRoot_);
}

std::string CoordinateSystemTransformer::GetGeoidKey(int slot) const {
  const auto& system = InSlot(slot);
  return system && kv::IsThreeDimensional(*system) ? kv::ComparisonKey(*system) : std::string();
}
