#ifndef FIARRAY_LOOP_H
#define FIARRAY_LOOP_H

#include "file.h"

namespace fiarray {

// Block devices for image files. Which ones there are is asked of the system each time, never
// remembered: whatever a killed command left attached is found again.

// The block device that shows an image; empty when there is none.
fs::path attachedDevice(const fs::path& image);

// Shows an image as a block device. Empty where the system has no loop devices or gives none to
// this user.
fs::path attach(const fs::path& image);

// Takes the image's block devices away.
void detach(const fs::path& image);

// Brings what was written to the image's block device into the image. Throws Fault.
void flush(const fs::path& image);

}  // namespace fiarray

#endif
