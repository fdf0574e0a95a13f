#include <sys/resource.h>

#include <vector>
#include <xercesc/util/PlatformUtils.hpp>

#include "cficonfighandler.h"
#include "cfiformatoption.h"
#include "cfisaxparser.h"
#include "cfixstringtool.h"
#include "support/short_memory.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

constexpr char kDocument[] =
    "<!DOCTYPE a [<!ENTITY e 'entity'><!ATTLIST value a CDATA 'default'>]><ConfigValueList>"
    "<ConfigValue><key>a key that fits into no small string</key><valueList><value>&e;\xC3\xA9"
    "</value><value/></valueList></ConfigValue></ConfigValueList>";

// What a list that held one other value holds after a document: its result, keys and text.
std::string parsed(const char* document) {
  CFiConfigParamDataList list;
  list.params["before"].key = "before";
  list.updateXML();
  const std::string before = list.getXML().c_str();
  int result = -1;
  try {
    result = list.parse(document);
  } catch (const std::bad_alloc&) {
    EXPECT_EQ(list.params.begin()->first, "before");
    EXPECT_EQ(list.getXML().c_str(), before);
    throw;
  }
  return std::to_string(result) + list.params.begin()->first + list.getXML().c_str();
}

void sweepReading(const std::string& name, const std::function<std::string()>& work) {
  ShortMemory sweep{name, work};
  sweep.mayLeak = true;
  sweep.sweep();
}

TEST(ShortMemory, LeavesAListAsItWasWhenADocumentCannotBeRead) {
  sweepReading("a document", [] { return parsed(kDocument); });
  sweepReading("a document in error", [] { return parsed("<a>\n<b></a>"); });
}

TEST(ShortMemory, LetsDescriptionsBeReadWhole) {
  sweepReading("descriptions", [] {
    CFiGetConfigParamListHandler handler;
    CFiSaxParser(&handler).parse(std::string(
        "<ConfigParam><key>k</key><dataType>string_list</dataType><selectionItem>an item that fits "
        "into no small string</selectionItem></ConfigParam>"));
    return std::string(handler.getList().getXML().c_str());
  });
}

TEST(ShortMemory, LetsDefaultsBeWrittenWhole) {
  CFiConfigParamInfoList list;
  list.params["key"].defaultValue = "a default that fits into no small string";
  ShortMemory{"defaults",
              [&list] { return std::string(list.getDefaultDataList().getXML().c_str()); }}
      .sweep();
}

// Fails every allocation of the process until it ends.
class NoMemory {
 public:
  NoMemory() {
    rlimit none = m_before;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_AS, &none);
    for (size_t size = 1 << 20; size >= 16; size /= 2) {
      while (void* const block = std::malloc(size)) m_blocks = new (block) Block{m_blocks};
    }
  }
  ~NoMemory() {
    setrlimit(RLIMIT_AS, &m_before);
    while (m_blocks != nullptr) std::free(std::exchange(m_blocks, m_blocks->next));
  }

 private:
  struct Block {
    Block* next;
  };
  static rlimit limit() {
    rlimit value{};
    getrlimit(RLIMIT_AS, &value);
    return value;
  }
  rlimit m_before = limit();
  Block* m_blocks = nullptr;
};

[[noreturn]] void readTheFirstDocumentWithoutMemory() {
  const auto isShort = [] {
    try {
      CFiFormatOptionList("<a/>");
      return false;
    } catch (const std::bad_alloc&) {
      return true;
    }
  };
  bool first = false;
  {
    const NoMemory none;
    first = isShort();
  }
  const bool later = isShort();
  std::fprintf(stderr, "first document %s, later ones %s\n", first ? "thrown" : "read",
               later ? "thrown" : "read");
  std::_Exit(0);
}

TEST(ShortMemoryDeathTest, EndsNoProcessAtItsFirstDocument) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process without documents so far
  EXPECT_EXIT(readTheFirstDocumentWithoutMemory(), testing::ExitedWithCode(0),
              "first document thrown, later ones thrown");
}

TEST(ShortMemory, MakesThePanicOfTheXmlReaderABadAlloc) {
  CFiFormatOptionList("<a/>");
  EXPECT_THROW(xercesc::XMLPlatformUtils::panic(xercesc::PanicHandler::Panic_SystemInit),
               std::bad_alloc);
}

}  // namespace
}  // namespace orca_tests
