#ifndef FIHOST_STATE_TAKEOVER_H
#define FIHOST_STATE_TAKEOVER_H

#include <functional>
#include <string>

#include "state/record.h"

namespace fihost {

// Takes over the list that hosts before kept as a JSON file in the folder: `take` is called with a
// function that reads it and hands its records on one by one, and must have kept them for good when
// it returns. Then the file has the name state.json.taken-over. Other hosts are locked out
// meanwhile, those of before included, and what one of these left half-written goes. Nothing
// happens where there is no such file. Throws a Problem (kWrongUse) that names what is wrong.
using RecordReader = std::function<void(const std::function<void(const SnapshotRecord&)>&)>;
void takeOverOldList(const std::string& folder,
                     const std::function<void(const RecordReader&)>& take);

}  // namespace fihost

#endif
