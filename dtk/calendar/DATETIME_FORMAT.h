/// @file
#pragma once

/// The layout of a date-time written as 14 digits. The HH12 layouts write the hour modulo 12 without an AM/PM mark and
/// read it as it stands, so an afternoon time does not read back.
enum DATETIME_FORMAT : int {
    DTF_YYYYMMDDHH24MISS = 1,
    DTF_DDMMYYYYHH24MISS = 2,
    DTF_YYYYMMDDHH12MISS = 3,
    DTF_DDMMYYYYHH12MISS = 4
};
