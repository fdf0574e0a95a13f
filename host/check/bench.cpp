#include "check/bench.h"

#include <cfimsgdgst5.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/answertext.h"
#include "framework/installroot.h"
#include "framework/operations.h"

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr int kNotSupported = 4;
constexpr char kTakenFile[] = "taken";

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The digest of all that can be read.
std::string digestOf(std::FILE* file) {
  orca_pdk::CFiMessageDigest5 digest;
  std::vector<unsigned char> piece(std::size_t{256} * 1024);
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), file)) {
    digest.Update(piece.data(), got);
  }
  digest.Finalize();
  return digest.GetAnsiMessageDigest();
}

std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word + "'";
}

std::string contentBy(const std::string& command, const std::string& name) {
  std::FILE* const output = popen(("set -- " + quoted(name) + "\n" + command).c_str(), "re");
  if (output == nullptr) throw Broken{"the content command cannot be started"};
  std::string digest = digestOf(output);
  const int status = pclose(output);
  require(status == 0, "the content command failed for " + name);
  return digest;
}

void append(const fs::path& folder, const char* what, const Taken& taken) {
  std::ofstream out(folder / kTakenFile, std::ios::app);
  const nlohmann::json line{what, taken.node, taken.name};
  out << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
}

}  // namespace

std::vector<std::string> Bench::nodes(std::size_t least) const {
  const std::size_t given = m_options.nodes.size();
  if (given == 0) throw Skipped{"no NODE was given"};
  if (given < least) throw Skipped{"it takes " + std::to_string(least) + " nodes"};
  return m_options.nodes;
}

std::string Bench::apart(const std::function<std::string()>& work) const {
  return workApart(work, std::chrono::seconds(m_options.timeout));
}

std::string Bench::content(const std::string& name) const {
  if (!m_options.content.empty()) return contentBy(m_options.content, name);
  std::error_code ignored;
  if (!fs::is_regular_file(name, ignored)) {
    throw Skipped{name + " is no file, and no --content says how to read it"};
  }
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rbe"));
  require(file != nullptr, name + " cannot be read");
  return digestOf(file.get());
}

std::vector<std::string> Bench::languages(const std::string& provider) const {
  const fs::path folder = fs::path(installRoot()) / "resources" / ("lib" + provider);
  std::set<std::string> found;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    if (entry.path().extension() == ".res") found.insert(entry.path().stem().string());
  }
  require(!found.empty(), "no catalog in " + folder.string());
  if (found.size() > 1) found.erase("root");
  return {found.begin(), found.end()};
}

void Bench::noteTaken(const Taken& taken) const { append(m_folder, "taken", taken); }

void Bench::noteDisposed(const Taken& taken) const { append(m_folder, "disposed", taken); }

std::vector<Taken> Bench::takenIn(const fs::path& folder) {
  std::vector<Taken> list;
  std::ifstream in(folder / kTakenFile);
  for (std::string line; std::getline(in, line);) {
    const nlohmann::json entry = nlohmann::json::parse(line, nullptr, false);
    if (entry.size() != 3) continue;  // its writer was ended in the middle
    const Taken taken{entry[1], entry[2]};
    std::erase_if(
        list, [&](const Taken& one) { return one.node == taken.node && one.name == taken.name; });
    if (entry[0] == "taken") list.push_back(taken);
  }
  return list;
}

Life::Life(const Bench& bench, std::vector<std::string> nodes)
    : m_bench(bench),
      m_names(std::move(nodes)),
      m_plugin(bench.options().plugin),
      m_caller(m_plugin),
      m_lifecycle(m_caller) {
  for (CallObserver* observer : std::initializer_list<CallObserver*>{&m_watch, &m_memory, this}) {
    m_caller.observe(*observer);
  }
}

Life::~Life() {
  while (!m_taken.empty()) {
    const Taken taken = m_taken.back();
    dispose(taken);
    if (!m_taken.empty() && m_taken.back().name == taken.name) m_taken.pop_back();
  }
}

void Life::must(bool good, const std::string& what) {
  if (good) return;
  const Call& last = m_caller.last();
  if (last.code == kNotSupported) {
    throw Skipped{std::string("the provider does not support ") + last.operation->name};
  }
  throw Broken{what + m_failure};
}

void Life::orSkip(bool good, const std::string& why) {
  if (!good) throw Skipped{why + ": " + m_failure};
}

void Life::begin() { must(m_lifecycle.begin(m_names, Lifecycle::Claim::Yes)); }

void Life::configure() {
  const std::string values = m_bench.options().values.getXML().c_str();
  for (std::size_t i = 0; i < nodes().size(); ++i) {
    std::string completed;
    must(ops::configSet(m_caller, nodes()[i], m_session, values, completed));
  }
}

bool Life::prepareAndMake(std::vector<std::string>& names) {
  for (std::size_t i = 0; i < nodes().size(); ++i) {
    if (!ops::prePrepare(m_caller, nodes()[i])) return false;
  }
  return ops::prepare(m_caller, nodes(), m_session) &&
         ops::make(m_caller, nodes(), m_session, names);
}

bool Life::take(std::vector<std::string>& names) {
  names.clear();
  const bool good = ops::quiesce(m_caller, nodes(), m_session) && prepareAndMake(names);
  const Call last = m_caller.last();
  const std::string failure = m_failure;
  // What is disposed of at the end must not be an original.
  std::set<std::string> seen(m_names.begin(), m_names.end());
  seen.insert("");
  for (std::size_t i = 0; i < names.size() && i < nodes().size(); ++i) {
    if (!seen.insert(names[i]).second) continue;
    m_taken.push_back({nodes()[i].name(), names[i]});
    m_bench.noteTaken(m_taken.back());
  }
  ops::unquiesce(m_caller, nodes());
  if (!good) {
    if (last.code == kNotSupported) {
      throw Skipped{std::string("the provider does not support ") + last.operation->name};
    }
    m_failure = failure;
  }
  return good;
}

std::vector<Taken> Life::snapshots() {
  begin();
  configure();
  std::vector<std::string> names;
  must(take(names));
  require(m_taken.size() == nodes().size(), "make handed out " + std::to_string(names.size()) +
                                                " ids for " + std::to_string(nodes().size()) +
                                                " nodes");
  return m_taken;
}

bool Life::dispose(const Taken& taken) {
  Node source(taken.node);
  Node snapshot(taken.name);
  if (!ops::dispose(m_caller, source, snapshot)) return false;
  m_bench.noteDisposed(taken);
  std::erase_if(m_taken, [&](const Taken& one) { return one.name == taken.name; });
  return true;
}

long Life::status(const Taken& taken) {
  NodeSet sources({taken.node});
  NodeSet snapshots({taken.name});
  std::vector<long> statuses;
  must(ops::getStatus(m_caller, sources, snapshots, m_session, statuses));
  return statuses.front();
}

bool Life::restore(const Taken& taken) {
  NodeSet sources({taken.node});
  NodeSet snapshots({taken.name});
  std::vector<long> statuses;
  const bool good = ops::restore(m_caller, sources, snapshots, m_session, statuses);
  if (m_caller.last().code == kNotSupported) must(good);
  return good && isGoodStatus(Op::Restore, statuses.front());
}

void Life::begins(const Call& call) {
  if (call.operation->isStep) m_failure.clear();
}

double Life::milliseconds(Op op) const {
  const auto found = m_milliseconds.find(op);
  return found == m_milliseconds.end() ? 0 : found->second;
}

void Life::ended(const Call& call) {
  m_milliseconds[call.operation->id] = call.milliseconds;
  if (!call.exception.empty()) {
    m_raised = std::string("operation ") + call.operation->name + " raised " + call.exception;
  }
  if (call.operation->id != Op::GetLastError) return;
  m_message.clear();
  for (const NamedValue& output : call.outputs) {
    if (const auto* text = std::get_if<std::string>(&output.value)) m_message = *text;
  }
}

void Life::failed(const Failure& failure) {
  m_failure = failureText(failure);
  m_failureMessage = m_message;
  m_failureSentence = failure.lastError;
}

}  // namespace fihost::check
