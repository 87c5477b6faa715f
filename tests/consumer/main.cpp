// A program that knows the installed package only.
#include <KVUtilities.h>

#include <cstdio>

int main() {
  const double degrees = KVUtilities::NMEA_DMtoDD(L"4807.038", L'N');
  std::printf("%.4f\n", degrees);
  return degrees > 48.1172 && degrees < 48.1174 ? 0 : 1;
}
