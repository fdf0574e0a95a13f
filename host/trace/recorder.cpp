#include "trace/recorder.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "cli/exitstatus.h"
#include "cli/names.h"
#include "framework/lasterror.h"
#include "framework/parameters.h"
#include "trace/sessionfile.h"
#include "trace/words.h"

namespace fihost {

namespace {

constexpr int kPermissions = 0600;  // values may be secrets

// Outputs that differ from run to run, or from machine to machine.
constexpr std::string_view kVarying[] = {"snapshots", "text",  "state",    "path", "answer",
                                         "id",        "names", "document", "built"};

// A path below the working folder as it is named from there, so that the file goes with its folder.
std::string fromHere(const std::string& name) {
  std::error_code ignored;
  const std::string here = std::filesystem::current_path(ignored).string() + "/";
  if (ignored || !name.starts_with(here) || !isExistingPath(name)) return name;
  return name.substr(here.size());
}

std::string asWords(const std::vector<std::string>& texts) {
  std::string words;
  for (const std::string& text : texts) words += " " + asWord(text);
  return words;
}

}  // namespace

Recorder::Recorder(const std::string& path, std::string session)
    : m_file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPermissions)),
      m_path(path),
      m_ownSession(std::move(session)),
      m_session(m_ownSession) {
  if (!m_file) throw Problem{kWrongUse, "cannot make " + path + ": " + strerror(errno)};
}

void Recorder::write(const std::string& line) {
  const std::string text = line + "\n";
  for (std::size_t done = 0; done < text.size() && m_trouble.empty();) {
    const ssize_t written =
        retried([&] { return ::write(m_file.get(), text.data() + done, text.size() - done); });
    if (written < 0) m_trouble = m_path + " is not whole: " + strerror(errno);
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

void Recorder::loaded(const std::string& plugin) { write("plugin " + asWord(plugin)); }

void Recorder::begins(const Call& call) {
  if (!call.operation->isStep) return;
  writeSession(call);
  write(operation(call));
}

void Recorder::writeSession(const Call& call) {
  const Value* session = find(call.arguments, "session");
  if (session == nullptr) return;
  const std::string id = textsOf(*session).front();
  if (id == m_session || (m_session == m_ownSession && id.starts_with(m_ownSession))) return;
  m_session = id;
  write("session " + asWord(m_session));
}

std::string Recorder::operation(const Call& call) const {
  const Form* form = formOf(call.operation->id);
  if (call.operation->id == Op::ConfigSet) return settings(call, *form);
  std::string line = form->name();
  for (const Place& place : form->places()) line += argument(call, place);
  return line;
}

// The values of a config SET as settings, or the document as it is where it says more.
std::string Recorder::settings(const Call& call, const Form& form) const {
  const std::string text = textsOf(*find(call.arguments, "text")).front();
  orca_pdk::CFiConfigParamDataList values;
  std::vector<std::pair<std::string, std::string>> settings;
  std::string words;
  bool isPlain = values.parse(text.c_str()) == 0;
  if (isPlain) {
    for (const auto& [key, data] : values.params) {
      isPlain = isPlain && !key.empty() && key.find('=') == key.npos;
      std::vector<std::string> all(data.valueList.begin(), data.valueList.end());
      if (all.empty()) all.push_back(data.value);
      for (const std::string& value : all) {
        settings.emplace_back(key, value);
        words += " " + asWord(key) + "=" + asWord(value);
      }
    }
  }
  const std::string node = argument(call, form.places().front());
  const bool isAll = isPlain && text == wantedValues("", settings).getXML().c_str();
  return isAll ? form.name() + node + words : "config document" + node + " " + inQuotes(text);
}

std::string Recorder::argument(const Call& call, const Place& place) const {
  const Value* value = find(call.arguments, place.name);
  if (value == nullptr) return "";
  const std::vector<std::string> texts = textsOf(*value);
  const Value* others = place.second.empty() ? nullptr : find(call.arguments, place.second);
  std::string words;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const bool isLeftOut = place.isNamed && (texts[i].empty() || texts[i] == "0");
    if (isLeftOut) continue;
    words += " " + (place.isNamed ? place.name + "=" : "") + refer(place, texts[i]);
    if (others != nullptr) words += " " + refer(place, textsOf(*others)[i]);
  }
  return words;
}

std::string Recorder::refer(const Place& place, const std::string& text) const {
  if (!place.areNodes) return asWord(text);
  const auto found = std::find(m_snapshots.begin(), m_snapshots.end(), text);
  if (found == m_snapshots.end()) return asWord(fromHere(text));
  return snapshotWord(static_cast<std::size_t>(found - m_snapshots.begin()) + 1);
}

void Recorder::ended(const Call& call) {
  if (call.operation->id == Op::GetLastError) {
    m_message = textsOf(*find(call.outputs, "message")).front();
  }
  if (!call.operation->isStep) return;
  expectAnswer(call);
  for (const NamedValue& output : call.outputs) expectOutput(call, output);
}

void Recorder::expectAnswer(const Call& call) {
  if (!call.exception.empty()) {
    write("expect raised " + asWord(call.exception));
  } else {
    write("expect " + (call.code ? std::to_string(*call.code) : "done"));
  }
}

void Recorder::expectOutput(const Call& call, const NamedValue& output) {
  std::vector<std::string> texts = textsOf(output.value);
  if (call.operation->id == Op::Make) {
    for (const std::string& name : texts) m_snapshots.push_back(name);
  }
  if (call.operation->id == Op::IsReady) {
    // That something is not ready yet says nothing of another run.
    if (std::count(texts.begin(), texts.end(), "0") == 0) write("until ready" + asWords(texts));
  } else if (output.name == "statuses") {
    for (std::string& text : texts) text = statusName(call.operation->id, std::stol(text));
    write("expect status" + asWords(texts));
  } else if (std::find(std::begin(kVarying), std::end(kVarying), output.name) ==
             std::end(kVarying)) {
    write("expect " + output.name + asWords(texts));
  } else if (std::holds_alternative<std::vector<std::string>>(output.value)) {
    write("expect count " + output.name + " " + std::to_string(texts.size()));
  }
}

// What the host itself finds wrong with an answer is no answer.
void Recorder::failed(const Failure& failure) {
  if (!failure.reason.empty() || m_message.empty()) return;
  write("expect message " + asWord(messageId(m_message)));
}

}  // namespace fihost
