#include "KVPlatform.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "KVRecords.h"

namespace {

TEST(WideString, CopiesShareOneBufferAndChangesDoNotReachThem) {
  CStringW original(L"photo.jpg", 5);
  CStringW copy = original;
  EXPECT_EQ(copy.GetString(), original.GetString());
  copy += L".tif";
  copy += copy;
  EXPECT_STREQ(copy, L"photo.tifphoto.tif");
  EXPECT_EQ(copy.GetLength(), 18);
  original = std::move(copy);
  copy = original;
  original = CStringW();
  EXPECT_TRUE(copy == L"photo.tifphoto.tif" && original != copy && original < copy);
}

TEST(WideString, OrderIsThatOfTheCharacters) {
  const CStringW b(L"b"), a(L"a");  // made in this order, so that addresses tell another story than characters
  const wchar_t* const textA = L"a";
  EXPECT_TRUE(a < b && a < L"b" && textA < b && b > a && b > textA && L"b" > a);
  EXPECT_TRUE(a <= b && a <= L"a" && textA <= a && b >= a && a >= textA && L"b" >= a);
  EXPECT_FALSE(b < a || b < textA || b <= a || a > b || a > L"a" || a >= b || textA >= b || L"b" <= a);
}

// Callers that are compiled elsewhere rely on it.
TEST(Records, LayoutIsThatOfTheInterface) {
  static_assert(sizeof(FILETIME) == 8 && sizeof(SYSTEMTIME) == 16 && sizeof(CStringW) == sizeof(void*));
  EXPECT_EQ(offsetof(tagKVTrajectoryObs, AltUnit), 64u);
  EXPECT_EQ(offsetof(tagKVSystemEvent, POSQuality), 128u);
  EXPECT_EQ(offsetof(tagKVLogEvent, AOSSysError), 160u);
  EXPECT_EQ(offsetof(tagKVExposureStation, Cam1Event), 48u);
  const tagKVSystemEvent fresh;
  EXPECT_TRUE(fresh.CameraID == -1 && fresh.Type == 0 && fresh.PhotoPath.IsEmpty() && fresh.AdjGpsSec == 0.0);
  EXPECT_TRUE(fresh.POSQuality == L"NONE" && fresh.ORIQuality == L"NONE");
}

TEST(WideString, EmptyHasManyForms) {
  const CStringW kept(std::wstring(L"a\0b", 3).c_str(), 3);
  EXPECT_EQ(kept.GetLength(), 3);
  for (const CStringW& empty :
       {CStringW(), CStringW(L""), CStringW(nullptr), CStringW(L"abc", 0), CStringW(L"a", -1)}) {
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.GetLength(), 0);
    EXPECT_STREQ(empty.GetString(), L"");
    EXPECT_TRUE(empty == L"" && empty != kept);
  }
}

}  // namespace
