#pragma once

#include <ogr_spatialref.h>

#include <memory>
#include <string>
#include <vector>

/// Transforms points from a source to a target coordinate system and refuses pairs whose heights cannot be combined.
/// Operations return 0 for success or a negative code, and keep the text of the last result. One thread at a time.
///
/// Slots: 0 is the source system, every other number the target.
class CoordinateSystemTransformer {
 public:
  enum Result : int {
    kOk = 0,
    kImportFailed = -102,
    kExportFailed = -103,
    kNoSource = -104,
    kNoTarget = -105,
    kNoSystems = -106,
    kNoTransformation = -107,
    kNoGeoidGrid = -108,
    kNotSetUp = -109,
    kTransformFailed = -110,
    kNoSourceHeights = -111,
    kUnknownVerticalClass = -112,
  };

  /// Gives GDAL and PROJ their folders and options, for the whole process.
  CoordinateSystemTransformer();

  /// Attaches a geoid grid from the lookup file to a system whose heights need one and do not name one that exists.
  /// @return `wkt` unchanged when the heights need no grid or have one, or when it is not a coordinate system; else the
  ///         rewritten WKT, also when the lookup file has no grid for the system
  std::wstring PrepareVerticalWkt(const std::wstring& wkt) const;

  /// Sets both systems and creates the transformation.
  /// @param error  empty, or the text of the first failure
  int Setup(const std::wstring& sourceWkt, const std::wstring& targetWkt, std::wstring& error);

  /// Puts a system into a slot. Success discards an earlier transformation; failure empties the slot but keeps the
  /// transformation.
  /// @param wkt  UTF-8; geographic systems then take longitude before latitude, whatever their axis order
  int SetCoordinateSystem(int slot, const std::string& wkt);

  /// Creates the transformation between the two systems, if their heights allow it.
  int CreateTransformer();

  /// Transforms points in place. When one fails, the content of the arrays is undefined.
  int Transform(double* x, double* y, double* z, int count);

  /// Whether points get the same results together as one by one. If not, GDAL chooses the operation that suits the middle of
  /// the points it is given, which need not suit each of them.
  bool TakesEachPointByItself() const { return takesEachPointByItself_; }

  void GetLastMessage(std::wstring& message) const { message = lastMessage_; }

  /// @param wkt  receives WKT1 if that can express the system, else WKT2
  int GetWkt(int slot, std::string& wkt);

  /// Whether a system's heights have a geoid grid that exists. Attaches the listed grid to a datum that names none.
  bool HasGeoidGrid(OGRSpatialReference& system) const;

  /// Name of a slot's vertical system; empty for a system without heights.
  std::string GetGeoidKey(int slot) const;

 private:
  struct DestroyTransformation {
    void operator()(OGRCoordinateTransformation* transformation) const noexcept {
      OGRCoordinateTransformation::DestroyCT(transformation);
    }
  };

  const std::unique_ptr<OGRSpatialReference>& InSlot(int slot) const { return slot == 0 ? source_ : target_; }
  int Done();
  int Fail(Result result, std::wstring message);
  int CheckHeights();
  int CheckVerticalClass(int slot, int datumClass);

  std::wstring dataRoot_;
  std::unique_ptr<OGRSpatialReference> source_;
  std::unique_ptr<OGRSpatialReference> target_;
  std::unique_ptr<OGRCoordinateTransformation, DestroyTransformation> transformation_;
  bool takesEachPointByItself_ = false;
  std::string projSearchPath_;
  std::wstring lastMessage_;
  std::vector<int> errorCodes_;  // of the points transformed last
};
