/// @file
#pragma once

/// The layout of a date written as 8 digits. Every value other than DF_DDMMYYYY writes the first layout.
enum DATE_FORMAT : int { DF_YYYYMMDD = 1, DF_DDMMYYYY = 2 };
