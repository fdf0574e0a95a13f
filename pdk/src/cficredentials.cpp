#include "cficredentials.h"

#include <fiutil.h>

#include "cficredentiallist.h"
#include "cfistringtool.h"
#include "cfitstr.h"

namespace orca_pdk_4_4 {

namespace {

constexpr const char* kSectionMarker = "STORAGE_MANAGEMENT_SERVICE";
constexpr const char* kOpenArray = "OPENARRAY";
constexpr std::string_view kNumberMark = "dword:";

bool isHeader(const std::string& line) { return contains(line, "[") && contains(line, "]"); }

bool isComplete(const SFiCredential& record) {
  return !record.hostname.empty() && !record.username.empty() && !record.password.empty();
}

// One pass over a credential text.
class TextReader : public CFiTraceable {
 public:
  TextReader(CFiCredentialsParser& parser, const std::string& vendor, const std::string& product,
             std::vector<SFiCredential>& out, bool openArray)
      : m_parser(parser), m_vendor(vendor), m_product(product), m_out(out), m_openArray(openArray) {
    registerTraceLog(parser.getTraceLog());
  }

  void read(const std::string& text) {
    size_t start = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
      readLine(text.substr(start, end - start));
      start = end + 1;
    }
    readLine(text.substr(start));
    if (m_inSection && !finishRecord()) {
      traceLine(FI_TRACE_WARNING, "WARNING: skipping invalid credentials for vendor %s",
                m_vendor.c_str());
    }
  }

 private:
  void readLine(const std::string& line) {
    if (isHeader(line)) {
      readHeader(line);
    } else if (m_inSection) {
      readValue(line);
    }
  }

  void readHeader(const std::string& line) {
    if (m_inSection) {
      finishRecord();
      m_record = SFiCredential();
      m_inSection = false;
    }
    const std::vector<std::string> tokens = CFiStringTool::tokenize(line, "\t\r[]\\ \n");
    if (tokens.size() != 3 || !CFiStringTool::CompareNoCase(tokens[0], kSectionMarker)) return;
    m_inSection = isWanted(tokens[2]);
  }

  bool isWanted(const std::string& name) const {
    if (!contains(name, m_vendor) || !contains(name, m_product)) return false;
    const bool isOpenArray = contains(name, kOpenArray);
    if (m_openArray && !isOpenArray) {
      traceLine(FI_TRACE_INFO, "INFO: Skipping non OPENARRAY credentials section '%s'",
                name.c_str());
    } else if (!m_openArray && isOpenArray) {
      traceLine(FI_TRACE_INFO, "INFO: Skipping OPENARRAY credentials section '%s'", name.c_str());
    }
    return isOpenArray == m_openArray;
  }

  void readValue(const std::string& line) {
    const size_t equals = line.find('=');
    if (equals == std::string::npos) return;
    std::string key = line.substr(0, equals);
    std::string value = line.substr(equals + 1);
    if (!m_parser.removeQuotes(key)) {
      traceLine(FI_TRACE_WARNING, "WARNING: Invalid credentials section '%s'", line.c_str());
      return;
    }
    const size_t mark = value.find(kNumberMark);
    if (mark != std::string::npos) {
      value.erase(0, mark + kNumberMark.size());
    } else if (!m_parser.removeQuotes(value)) {
      traceLine(FI_TRACE_WARNING, "WARNING: Invalid value '%s' for key section '%s'", value.c_str(),
                key.c_str());
      return;
    }
    store(key, value);
  }

  void store(const std::string& key, const std::string& value) {
    if (key == "HOSTNAME") {
      assignTstr(m_record.hostname, value);
    } else if (key == "USERNAME") {
      assignTstr(m_record.username, value);
    } else if (key == "PASSWORD") {
      assignTstr(m_record.password, value);
    } else if (key == "DATA") {
      assignTstr(m_record.data, value);
    } else if (key == "PORT") {
      storePort(key, value);
    }
  }

  void storePort(const std::string& key, const std::string& value) {
    if (CFiStringTool::isDigit(value)) {
      m_record.port = CFiStringTool::str2int(value);
    } else {
      traceLine(FI_TRACE_WARNING, "WARNING: Invalid dword value '%s' for key section '%s'",
                value.c_str(), key.c_str());
    }
  }

  // False for an incomplete record, which is dropped.
  bool finishRecord() {
    if (!m_openArray && !isComplete(m_record)) return false;
    traceLine(FI_TRACE_INFO,
              "INFO: adding array credentials for: vendor %s, product %s, server %s, username %s",
              m_vendor.c_str(), m_product.c_str(), m_record.hostname.c_str(),
              m_record.username.c_str());
    appendRecord(m_out, m_record);
    return true;
  }

  CFiCredentialsParser& m_parser;
  const std::string& m_vendor;
  const std::string& m_product;
  std::vector<SFiCredential>& m_out;
  const bool m_openArray;
  bool m_inSection = false;
  SFiCredential m_record;
};

}  // namespace

CFiCredentialsParser::CFiCredentialsParser() = default;
CFiCredentialsParser::~CFiCredentialsParser() = default;

int CFiCredentialsParser::parse(std::string vendor, std::string product,
                                std::vector<SFiCredential>& out, bool openArray) {
  char* text = nullptr;
  orca_get_credential_blob(&text);
  if (text == nullptr) {
    traceLine(FI_TRACE_INFO, " CFiCredentialsParser::parse - No credentials found.");
    return FI_OK;
  }
  if (*text == '\0') return FI_NO_CREDENTIALS;
  return parse(std::string(text), vendor, product, out, openArray);
}

int CFiCredentialsParser::parse(std::string text, std::string vendor, std::string product,
                                std::vector<SFiCredential>& out, bool openArray) {
  traceLine(FI_TRACE_DETAIL, "CFiCredentialsParser::parse - parsing credentails");
  const std::ptrdiff_t known = std::ssize(out);
  try {
    TextReader(*this, vendor, product, out, openArray).read(text);
  } catch (...) {
    out.erase(out.begin() + known, out.end());
    throw;
  }
  return FI_OK;
}

bool CFiCredentialsParser::removeQuotes(std::string& text) {
  const size_t last = text.rfind('"');
  if (last == std::string::npos || last == 0) return false;
  text = text.substr(1, last - 1);
  return true;
}

}  // namespace orca_pdk_4_4
