// A moment as a wall clock shows it.
#pragma once

namespace qz {

/// Date and time of day in the local time zone.
struct CivilTime {
  int year = 0;         ///< four digits
  int month = 0;        ///< 1 to 12
  int day = 0;          ///< 1 to 31
  int hour = 0;         ///< 0 to 23
  int minute = 0;       ///< 0 to 59
  int second = 0;       ///< 0 to 59
  int millisecond = 0;  ///< 0 to 999
};

}  // namespace qz
