// fiarray: a small disk array on the command line.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>

#include "fault.h"
#include "trouble.h"

namespace fiarray {

namespace {

constexpr char kDescription[] =
    "A small disk array. Every command reads the login from standard input: the user on one line, "
    "the\npassword on the next; init sets it. Answers are key=value lines. After an error the last "
    "line begins\nwith \"fiarray: \", and the exit status says what kind it was: 2 wrong use, 3 "
    "login, 4 unknown,\n5 conflict, 6 sizes, 7 copy failed, 8 system, 9 damaged state, 10 done but "
    "perhaps not kept.\nThe state "
    "folder is private to its owner and holds the login in clear text.";

constexpr char kCloneHelp[] =
    "Give target the content of source. A full clone is a copy that leaves holes out; --cow shares "
    "the\nblocks where the file system can (XFS, Btrfs) and is a full copy where it cannot. With "
    "--background a\nfull copy is only begun: each copy-status carries it on by 16 MiB, and "
    "it fails if the source is\nwritten before it is done.";

// What the command line says.
struct Words {
  std::string state;
  std::string enclosure;
  std::string device;
  std::string other;
  std::string kind;
  uint64_t size = 0;
  int number = 0;
  int count = 1;
  bool isFilesOnly = false;
  bool isShared = false;
  bool isBackground = false;
};

using Command = std::function<Answer(Array&, Store&)>;

Login readLogin() {
  Login login;
  std::getline(std::cin, login.user);
  std::getline(std::cin, login.password);
  if (login.user.empty()) throw Fault{kLoginRefused, "no login on standard input"};
  return login;
}

// The command line, and what it asks for.
class CommandLine {
 public:
  CommandLine() {
    m_app.require_subcommand(1);
    m_app.add_option("--state", m_words.state, "Folder of the array's state")
        ->envname("FIARRAY_STATE")
        ->required();
    addSetUp();
    addMapping();
    addClones();
  }

  // Returns the exit status when there is nothing more to do, else -1.
  int parse(int argc, char** argv) {
    try {
      m_app.parse(argc, argv);
      return -1;
    } catch (const CLI::ParseError& error) {
      if (error.get_exit_code() == 0) return m_app.exit(error);
      throw Fault{kWrongUse, error.what()};
    }
  }

  const Words& words() const { return m_words; }
  // Empty for init.
  const Command& command() const { return m_command; }
  bool isInject() const { return m_app.got_subcommand("inject"); }

 private:
  CLI::App* add(const std::string& name, const std::string& help, const Command& command) {
    CLI::App* verb = m_app.add_subcommand(name, help);
    verb->callback([this, command] { m_command = command; });
    return verb;
  }

  CLI::App* addForDevice(const std::string& name, const std::string& help, const Command& command) {
    CLI::App* verb = add(name, help, command);
    verb->add_option("enclosure", m_words.enclosure)->required();
    verb->add_option("device", m_words.device)->required();
    return verb;
  }

  void addSetUp() {
    add("init", "Make an array; the login is set from standard input", {})
        ->add_flag("--files-only", m_words.isFilesOnly,
                   "Never attach mapped devices as block devices");
    add("add-enclosure", "Add an enclosure",
        [this](Array& array, Store&) { return array.addEnclosure(m_words.enclosure); })
        ->add_option("enclosure", m_words.enclosure)
        ->required();
    addForDevice("add-device", "Add a device of a size in bytes, or with K, M, G",
                 [this](Array& array, Store&) {
                   return array.addDevice(m_words.enclosure, m_words.device, m_words.size);
                 })
        ->add_option("size", m_words.size)
        ->required()
        ->transform(CLI::AsSizeValue(false));
    CLI::App* list = add("list", "Show devices", [this](Array& array, Store&) {
      return array.list(m_words.enclosure, m_words.device);
    });
    list->add_option("enclosure", m_words.enclosure);
    list->add_option("device", m_words.device);
    CLI::App* inject = add("inject", "Let the next commands meet trouble",
                           [this](Array&, Store& store) { return injectTrouble(store); });
    inject->add_option("kind", m_words.kind)->required()->check(CLI::IsMember(troubleKinds()));
    inject->add_option("argument", m_words.number, "Seconds, or an exit status");
    inject->add_option("--count", m_words.count, "For how many commands");
  }

  void addMapping() {
    CLI::App* map = addForDevice("map", "Show a device to a host; the answer's path is where it is",
                                 [this](Array& array, Store&) {
                                   return array.map(m_words.enclosure, m_words.device,
                                                    m_words.other, m_words.number);
                                 });
    map->add_option("host", m_words.other)->required();
    map->add_option("lun", m_words.number)->required();
    addForDevice("unmap", "Hide a device from a host",
                 [this](Array& array, Store&) {
                   return array.unmap(m_words.enclosure, m_words.device, m_words.other);
                 })
        ->add_option("host", m_words.other)
        ->required();
  }

  void addClones() {
    CLI::App* clone = addForDevice("clone", kCloneHelp, [this](Array& array, Store&) {
      return array.clone(m_words.enclosure, m_words.device, m_words.other, m_words.isShared,
                         m_words.isBackground);
    });
    clone->add_option("target", m_words.other)->required();
    CLI::Option* shared = clone->add_flag("--cow", m_words.isShared, "Share blocks where possible");
    clone
        ->add_flag(
            "--full", [](int64_t) {}, "Copy (the default)")
        ->excludes(shared);
    clone->add_flag("--background", m_words.isBackground, "Do not wait for the copy");
    addForDevice("copy-status", "Carry a clone's copy on and show how far it is",
                 [this](Array& array, Store&) {
                   return array.copyStatus(m_words.enclosure, m_words.device);
                 });
    addForDevice("forget", "Let a clone be a device of its own", [this](Array& array, Store&) {
      return array.forget(m_words.enclosure, m_words.device);
    });
  }

  Answer injectTrouble(Store& store) const {
    const bool isOver = m_words.kind == "none" || m_words.count < 1;
    store.state.trouble = isOver ? Trouble{} : Trouble{m_words.kind, m_words.number, m_words.count};
    store.save();
    return {{"left", std::to_string(store.state.trouble.left)}};
  }

  CLI::App m_app{kDescription, "fiarray"};
  Words m_words;
  Command m_command;
};

// Runs a command with its share of trouble and returns what is to be printed.
std::string perform(const CommandLine& line) {
  const Login login = readLogin();
  const Words& words = line.words();
  if (!line.command()) {
    Store::create(words.state, {login, words.isFilesOnly, {}, {}});
    return "";
  }
  Trouble trouble;
  if (!line.isInject()) {
    Store store(words.state, login);
    trouble = takeTrouble(store);
  }
  meetBefore(trouble);
  Answer answer;
  {
    Store store(words.state, login);
    store.beforeSave = [&trouble] { meetMidway(trouble); };
    Array array(store);
    answer = line.command()(array, store);
  }
  return meetAfter(trouble, answer);
}

int run(int argc, char** argv) {
  CommandLine line;
  const int ended = line.parse(argc, argv);
  if (ended >= 0) return ended;
  const std::string text = perform(line);
  std::fwrite(text.data(), 1, text.size(), stdout);
  if (std::fflush(stdout) != 0) {
    throw Fault{kNotCertain, "done, but the answer is lost: " + ioFault("standard output").text};
  }
  return kDone;
}

}  // namespace

}  // namespace fiarray

int main(int argc, char** argv) {
  try {
    return fiarray::run(argc, argv);
  } catch (const fiarray::Fault& fault) {
    std::fprintf(stderr, "fiarray: %s\n", fault.text.c_str());
    return fault.status;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "fiarray: %s\n", error.what());
    return fiarray::kIoError;
  }
}
