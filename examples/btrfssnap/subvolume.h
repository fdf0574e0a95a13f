#ifndef BTRFSSNAP_SUBVOLUME_H
#define BTRFSSNAP_SUBVOLUME_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "common/trust.h"

namespace btrfssnap {

using namespace samples;

// Btrfs subvolumes, reached by opened folders. A subvolume is known by its UUID, which the file
// system gives it and nobody can choose; a snapshot has the UUID of what it was taken of as well.
//
// Operations throw std::system_error where nothing else is said.

// UUIDs are so many hexadecimal digits.
inline constexpr std::size_t kUuidLength = 32;

// By which a subvolume is known.
struct Identity {
  uint64_t id = 0;       // number within the file system
  std::string uuid;      // its own
  std::string parent;    // of what it is a snapshot of; zeros where it is none
  uint64_t created = 0;  // transaction in which it was made
  uint64_t changed = 0;  // transaction of the last change in it
  int64_t made = 0;      // when it was made: nanoseconds since the epoch
  bool isReadOnly = false;
};

// An opened subvolume.
struct Subvolume {
  Descriptor descriptor;
  Identity identity;
};

// Opens the subvolume of a name in a folder; nothing where there is none, whatever else may have
// the name. No link is followed.
std::optional<Subvolume> subvolumeIn(const Descriptor& folder, const std::string& name);

// The same by its place; throws Failure where there is none.
Subvolume openSubvolume(const std::filesystem::path& place);

// Makes a snapshot under a name in a folder. It is there whole, and lasts, or not at all.
void takeSnapshot(const Descriptor& source, const Descriptor& folder, const std::string& name,
                  bool isWritable);

// Removes exactly this subvolume, whatever name it has by now. It must not hold others.
void removeSubvolume(const Descriptor& folder, const Identity& identity);

// The path of a subvolume that lies within this one; nothing where none does.
std::optional<std::string> nestedIn(const Subvolume& subvolume);

// Waits until all that was done with subvolumes in a folder lasts.
void commit(const Descriptor& folder);

// Whether both lie in one Btrfs file system.
bool isSameFileSystem(const Descriptor& a, const Descriptor& b);

// A restored subvolume is another one than the one that was snapshotted before, so that UUIDs alone
// would not tell whose the older snapshots are. All that took each other's place have a line in
// common: the UUID of the first. It is kept in an attribute that only root can write, together with
// the UUID of the subvolume that it was written for: copies that others make do not count.
std::string lineOf(const Subvolume& subvolume);
// The line of what a snapshot was taken of.
std::string lineOfSource(const Subvolume& snapshot);
// Makes a subvolume one of a line.
void putInLine(const Subvolume& subvolume, const std::string& line);

}  // namespace btrfssnap

#endif
