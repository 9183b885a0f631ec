// The recorder of the AC and DC voltage of every sample, into the application's buffers.
#pragma once

// One sample in millivolts. On the thread that builds packets, under the interrupt lock.
void RecordRawSample(double ac, double dc);
