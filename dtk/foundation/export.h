/// @file
#pragma once

/// Marks what libdtk.so exports; everything else in it has hidden visibility.
#define DTK_EXPORT __attribute__((visibility("default")))
