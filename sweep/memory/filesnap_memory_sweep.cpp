#include <optional>

#include "examples/filesnap_fixture.h"
#include "support/short_memory.h"

namespace orca_tests {
namespace {

// Operations of filesnap, none of which may throw. The provider keeps what it learns.
class FileSnapMemory : public FileSnapTest {
 protected:
  FileSnapMemory() {
    writeFile(m_file, "small");
    m_made = snapshot({{"verify", "true"}});
    m_first = &node(m_file);
    m_nodes[0] = &m_first->split;
  }

  // Sweeps an operation that answers with a number; `good` is that of the whole work.
  template <typename Operation>
  void sweep(const std::string& name, const std::string& good, Operation operation) {
    ShortMemory sweep{name, [&]() -> std::string {
                        try {
                          return std::to_string(operation());
                        } catch (...) {
                          ADD_FAILURE() << name << " throws";
                          return "thrown";
                        }
                      }};
    sweep.isStated = [&](const std::string& result) {
      return result == good || result == "6" || result == std::to_string(orca_pdk::FI_NO_MEMORY);
    };
    sweep.mayLeak = true;
    sweep.sweep();
  }

  // Makes a snapshot and removes it again; what was handed out must be whole.
  int makeOne() {
    orca_objid** ids = nullptr;
    int count = 0;
    const int result = m_provider->make(m_session, m_nodes, 1, &ids, &count);
    const EnoughMemory enough;
    if (result != 0) return result;
    EXPECT_EQ(readFile(std::string(ids[0]->name) + "/data"), "small");
    std::filesystem::remove_all(ids[0]->name);
    orca_free_objid(ids[0]);
    orca_free_buf(ids, sizeof *ids);
    return 0;
  }

  std::string m_made;
  Node* m_first = nullptr;
  pyx_splitnode* m_nodes[1] = {};
  long m_answer = 0;
};

TEST_F(FileSnapMemory, NeverLetsAnOperationThrow) {
  Node second(m_made);
  sweep("filesnap claim", "1", [&] {
    const int claimed = m_provider->claim(m_first->id, nullptr, nullptr);
    return claimed == 0 ? 6 : claimed;
  });
  std::string values =
      "<ConfigValueList><ConfigValue><key>keep</key><value>7</value></ConfigValue>"
      "</ConfigValueList>";
  sweep("filesnap config SET", "0", [&] {
    pyx_confspec spec{1, 1, values.data()};
    return m_provider->config(&m_first->domain, 2, m_session, &spec);
  });
  sweep("filesnap prepare", "0", [&] { return m_provider->prepare(m_session, m_nodes, 1, 0); });
  sweep("filesnap make", "0", [&] { return makeOne(); });
  sweep("filesnap getStatus", "8", [&] {
    m_provider->getStatus(&m_first->id, &second.id, 1, nullptr, 0, &m_answer);
    return m_answer == 8 ? 8 : 6;
  });
  sweep("filesnap restore", "0", [&] {
    return m_provider->restore(&m_first->id, &second.id, 1, nullptr, nullptr, nullptr, nullptr, 0,
                               &m_answer);
  });
  EXPECT_EQ(status(m_made), 8);
  EXPECT_EQ(readFile(m_file), "small");
}

TEST_F(FileSnapMemory, NeverThrowsWhenItRemovesSnapshots) {
  sweep("filesnap dispose", "0", [&] {
    std::optional<EnoughMemory> enough(std::in_place);
    Node made(snapshot({{"keep", "64"}}));
    enough.reset();
    const int result = m_provider->dispose(nullptr, &made.domain, nullptr, {});
    enough.emplace();
    return result;
  });
  sweep("filesnap fini", "0", [&] {
    {
      const EnoughMemory enough;
      for (int i = 0; i < 2; ++i) snapshot({{"keep", "1"}});
    }
    m_provider->fini();
    return 0;
  });
}

}  // namespace
}  // namespace orca_tests
