#include "framework/operationtable.h"

#include <cfioperationtable.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>

#include "framework/parameters.h"

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
  const std::regex sentence("|wh(at|ether) .* is not known(, and it stays in the list)?");
  for (const fihost::Operation& operation : fihost::allOperations()) {
    EXPECT_TRUE(std::regex_match(operation.leaves, sentence))
        << operation.name << ": " << operation.leaves;
  }
}

TEST(Parameters, HaveNoNamesOfNumbersThatMeanNothing) {
  for (const int number : {-1, 6}) EXPECT_STREQ(fihost::dataTypeName(number), "unknown");
  for (const int number : {-1, 3}) EXPECT_STREQ(fihost::usageName(number), "UNKNOWN");
}

}  // namespace
