#include "framework/operationtable.h"

#include <cfioperationtable.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <string>

namespace {

TEST(OperationTable, NamesOperationsAsTheKitDoes) {
  for (const fihost::Operation& operation : fihost::allOperations()) {
    if (operation.id == fihost::Op::CatalogMessage) continue;
    const std::string name(operation.name);
    EXPECT_EQ(std::count(orca_pdk::kProviderOperations.begin(), orca_pdk::kProviderOperations.end(),
                         name.substr(0, name.find(' '))),
              1)
        << name;
  }
}

TEST(OperationTable, SaysWhatIsNotKnownAfterAFailureAsASentence) {
  for (const fihost::Operation& operation : fihost::allOperations()) {
    EXPECT_THAT(
        std::string(operation.leaves),
        testing::AnyOf(
            "", testing::MatchesRegex(
                    "wh(at|ether) .* (is not known|is not known, and it stays in the list)")))
        << operation.name;
  }
}

}  // namespace
