#ifndef FIRECORD_PLAYBACK_H
#define FIRECORD_PLAYBACK_H

#include <string>
#include <vector>

namespace firecord {

// Plays the next call of a recording: writes what the tool wrote, and returns the exit status. The
// position is kept beside the recording, so that another process goes on there. With times each
// piece and the end come as late as they did; without, at once. Throws Trouble, kNotRecorded when
// the next call has other arguments; the position then stays.
int playNext(const std::string& path, const std::vector<std::string>& arguments, bool keepsTimes);

}  // namespace firecord

#endif
