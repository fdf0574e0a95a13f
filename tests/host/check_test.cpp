#include <regex>

#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::HasSubstr;

// What is said of a provider that does not keep a requirement.
struct Case {
  const char* requirement;
  const char* sentence;
};

void PrintTo(const Case& one, std::ostream* out) { *out << one.requirement; }

constexpr Case kCases[] = {
    {"load.entry", "orca_provider_create raised std::runtime_error: no provider"},
    {"load.again", "time 51: plug-in"},
    {"load.side_by_side", "operation init: 6 (operation failed)"},
    {"load.locale", "LC_ALL was C and is C.UTF-8"},
    {"load.folder", "the working folder was"},
    {"load.umask", "the umask was 0022 and is 0000"},
    {"load.signals", "the action of signal 10 was default and is handler 1"},
    {"load.environment", "the variable BREAKING is new: 1"},
    {"load.descriptors", "is new: /dev/null"},
    {"load.threads", "the number of threads was 1 and is 2"},
    {"load.output", "the size of standard output was 0 and is 6"},
    {"table.returns", "operation isReady: crashed by signal 6"},
    {"table.exceptions", "isReady raised std::runtime_error: not ready"},
    {"table.results", "isReady answered 77, which has no meaning"},
    {"node.claim", "answered first claimed, then not claimed"},
    {"node.nonsense", "it claims \"xxx"},
    {"node.again", "operation initNode, node"},
    {"node.apart", "check was set for"},
    {"node.marker", "the node in front is \"/"},
    {"node.front", "is not claimed"},
    {"node.groups", "operation initNode, node breaking_GROUP: 6"},
    {"config.document", "the answer is no readable document of parameters"},
    {"config.types", "parameter check has no known type"},
    {"config.usages", "parameter label has no known usage"},
    {"config.defaults", "parameter keep has the default \"70\"; allowed: 1-64"},
    {"config.labels", "no text for \"BREAKING_ENGLISH\" in the language de"},
    {"config.take_defaults", "keep = \"7\" was refused: "},
    {"config.take_bounds", "keep = \"64\" was refused: "},
    {"config.past_bounds", "keep = \"0\" was taken"},
    {"config.take_choices", "mode = \"copy\" was refused: "},
    {"config.other_choices", "mode = \"auto-other\" was taken"},
    {"config.wrong_type", "check = \"maybe\" was taken"},
    {"config.unknown", "fihost_check_unknown = \"1\" was taken"},
    {"config.malformed", "half a document was taken"},
    {"config.messages", "keep = \"0\" was refused without a message"},
    {"config.values_stay", "keep = \"0\" was refused, and the values are no longer"},
    {"config.any_text", "label was set to [  a \"b\" 'c' <&> ]]>"},
    {"config.clear", "check is still \"true\" after CLEAR"},
    {"snapshot.ids", "make handed out 1 ids for 2 nodes"},
    {"snapshot.names", "two ids have the name /"},
    {"snapshot.ready", "the status right after make is \"damaged\""},
    {"snapshot.elsewhere", "the status in a new process is \"damaged\""},
    {"snapshot.differ", "the second snapshot is called /"},
    {"snapshot.source", "size, times, mode or owner of /"},
    {"snapshot.content", "is not that of /"},
    {"snapshot.all_or_none", "make failed and left /"},
    {"snapshot.dispose", "the status after dispose is \"ready\""},
    {"snapshot.dispose_again", "operation dispose, node /"},
    {"snapshot.foreign", "dispose removed /"},
    {"snapshot.restore", "restore succeeded, and the content is not that of the snapshot"},
    {"snapshot.damaged", "restore succeeded"},
    {"snapshot.absent", "restore succeeded"},
    {"errors.message", "was refused without a message"},
    {"errors.object", "the message does not name /"},
    {"errors.languages", "an argument is missing in the language de"},
    {"errors.of_this_call", "-second is that of /"},
    {"errors.go_away", "after delLastError there is still a message"},
    {"resources.import_again", "operation importResource, node /"},
    {"resources.deport_again", "operation deportResource, node /"},
    {"resources.numbers", "a-kept is still there after deportResource"},
    {"memory.nodes", "a buffer of 24 bytes was not given back, in initNode"},
    {"memory.snapshots", "the object id \"lost\" was not given back, in make"},
    {"memory.resident", "resident memory grew by"},
    {"memory.descriptors", "descriptors became"},
    {"memory.threads", "threads became"},
    {"memory.zombies", "was never reaped"},
    {"faults.buffers", "operation make raised std::bad_alloc"},
    {"faults.ids", "make: it says that it handed out 1 snapshots, but number 1 is null"},
    {"faults.commands", "command in child context number 1 of 1 failed: operation make raised int"},
    {"faults.delays", "child context, delayed, number 1 of 1 failed: operation make raised int"},
    {"kills.make", "what no operation removes: /"},
    {"kills.dispose", "is ready, and its content is another"},
    {"kills.restore", "the node has neither the old nor the new content"},
    {"kills.import", "the next import: "},
    {"kills.deport", "the next import: "},
};

// What cannot be tried here.
const Words kSkipped = ORCA_SANITIZED ? Words{"memory.resident"} : Words{};

std::string nameOf(const testing::TestParamInfo<Case>& info) {
  std::string name = info.param.requirement;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

class Check : public Host, public testing::WithParamInterface<Case> {
 protected:
  Check() {
    std::filesystem::create_directory_symlink(FIHOST_TEST_PLUGINS "/resources",
                                              m_dir.path() / "resources");
    for (const char* node : {"data/a", "data/b"}) {
      writeFile(m_dir.path() / node, std::string(node) + std::string(20000, 'x'));
    }
  }

  Json check(int exit, Words words = {}) {
    words.insert(words.begin(), {"check", "--plugin", plugin("breaking"), "--seed", "1", "--kills",
                                 "4", "--destructive", m_dir.file("data/a"), m_dir.file("data/b")});
    return runJson(words, exit);
  }

  static Words of(const Json& answer, const char* outcome) {
    Words ids;
    for (const Json& row : answer["requirements"]) {
      if (row["outcome"] == outcome) ids.push_back(row["id"]);
    }
    return ids;
  }
};

TEST_P(Check, FailsForTheRequirementThatIsNotKept) {
  const std::string id = GetParam().requirement;
  if (Words{id} == kSkipped) GTEST_SKIP() << "a sanitizer keeps memory";
  const ScopedEnv broken("CHECK_BREAK", id.c_str());
  const std::string group = id.substr(0, id.find('.'));
  const bool isLong = group == "memory" || group == "faults" || group == "kills";
  const Json answer = check(1, {"--only", isLong ? id : group});
  EXPECT_EQ(of(answer, "failed"), Words{GetParam().requirement});
  for (const Json& row : answer["requirements"]) {
    if (row["outcome"] != "failed") continue;
    EXPECT_THAT(row["text"].get<std::string>(), HasSubstr(GetParam().sentence));
  }
}
INSTANTIATE_TEST_SUITE_P(Each, Check, testing::ValuesIn(kCases), nameOf);

TEST_F(Check, HasACaseForEachRequirement) {
  Words cases;
  Words requirements;
  for (const Case& one : kCases) cases.push_back(one.requirement);
  const Json answer = runJson({"check", "--list"}, 0);
  for (const Json& row : answer["requirements"]) requirements.push_back(row["id"]);
  EXPECT_EQ(cases, requirements);
}

TEST_F(Check, IsDocumentedRequirementByRequirement) {
  const std::string document = readFile(FIHOST_TEST_DOCS "/conformance.md");
  const std::regex row(R"(\| `[a-z_.]+` \| .* \|\n)"), option("--only ([a-z_.,]+)");
  const std::sregex_iterator none;
  std::string rows, listed;
  for (std::sregex_iterator at(document.begin(), document.end(), row); at != none; ++at) {
    rows += at->str();
  }
  const Json answer = runJson({"check", "--list"}, 0);
  for (const Json& one : answer["requirements"]) {
    listed += "| `" + one["id"].get<std::string>() + "` | " + one["sentence"].get<std::string>() +
              " | " + one["reason"].get<std::string>() + " |\n";
  }
  EXPECT_EQ(rows, listed);
  for (std::sregex_iterator at(document.begin(), document.end(), option); at != none; ++at) {
    EXPECT_EQ(run({"check", "--list", "--only", at->str(1)}).status, 0) << at->str(1);
  }
}

TEST_F(Check, PassesAProviderThatKeepsThem) {
  const Json answer = check(0);
  EXPECT_EQ(of(answer, "failed"), Words{});
  EXPECT_EQ(of(answer, "skipped"), kSkipped);
  for (const Json& row : answer["requirements"]) EXPECT_EQ(row["left_over"], Json::array());
  EXPECT_EQ(answer["findings"], Json::array());
}

TEST_F(Check, WritesTheResultsInTheFormOfBuildServers) {
  const ScopedEnv broken("CHECK_BREAK", "load.folder");
  const std::string file = m_dir.file("results.xml");
  check(1, {"--only", "load.folder", "--only", "load.umask", "--junit", file});
  std::string xml = readFile(file);
  std::vector<double> times;
  for (std::size_t at = xml.find(" time=\""); at != std::string::npos; at = xml.find(" time=\"")) {
    times.push_back(std::stod(xml.substr(at + 7)));
    xml.erase(at, xml.find('"', at + 7) + 1 - at);
  }
  ASSERT_EQ(times.size(), 3U);
  EXPECT_NEAR(times[0], times[1] + times[2], 0.002);
  const std::size_t why = xml.find("the working folder was");
  ASSERT_NE(why, std::string::npos) << xml;
  xml.erase(why, xml.find('"', why) - why);
  EXPECT_EQ(xml,
            R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuite name="fihost check" tests="2" failures="1" skipped="0">
  <testcase classname="load" name="load.folder"><failure message=""/></testcase>
  <testcase classname="load" name="load.umask"></testcase>
</testsuite>
)");
}

}  // namespace
