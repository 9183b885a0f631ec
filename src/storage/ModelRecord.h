// The model records in flash: read by identification, written at manufacture.
//
// 12 bytes: 'T', type letters, model code, year or lot, sequence number (big-endian), hardware and
// firmware version.
#pragma once

#include "device/Identification.h"

bool ReadMainModelRecord(std::uint8_t (&record)[kModelRecordBytes]);
bool ReadModuleModelRecord(std::uint8_t (&record)[kModelRecordBytes]);

// Rewrite one part of the main record and leave the other as read; the record in memory follows.
bool SetModelInfo(const MODEL_INFORMATION* record);
bool SetHWInfo(int major, int minor);
