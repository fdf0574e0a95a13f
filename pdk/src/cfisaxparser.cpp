#include "cfisaxparser.h"

#include <exception>
#include <new>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/PanicHandler.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "cfixerces.h"
#include "cfixstringtool.h"

namespace orca_pdk_4_4 {
namespace {

using xercesc::XMLUni;

constexpr XMLCh kSystemId[] = u"orca_sax_parser";
constexpr XMLSize_t kEntityExpansionLimit = 1000;
constexpr XMLSize_t kEntityTextLimit = 16384;  // all entities of a document together

// Runs one step of the set-up; failed is set when the reader refused it or memory ran short.
template <typename Step>
void setUp(bool& failed, Step step) {
  const bool hadFailed = std::exchange(failed, true);
  try {
    withMemory(step);
    failed = hadFailed;
  } catch (const xercesc::XMLException&) {
  } catch (const xercesc::SAXException&) {
  }
}

struct ExpansionBounds : xercesc::SecurityManager {
  ExpansionBounds() { setEntityExpansionLimit(kEntityExpansionLimit); }
};

xercesc::SecurityManager* expansionBounds() {
  static ExpansionBounds bounds;
  return &bounds;
}

// The security manager counts what expands in the content of a document. This reader also bounds
// the text that one expansion can yield, and refuses what expands uncounted in the document type:
// entities in attribute defaults, and parameter entities.
class BoundedReader : public xercesc::SAX2XMLReaderImpl {
 public:
  // Without a declaration handler the document type is not reported at all.
  BoundedReader() { setDeclarationHandler(&m_ignore); }

  void startIntSubset() override { m_entities = m_entityText = 0; }

  void entityDecl(const xercesc::DTDEntityDecl& entity, const bool isParameter,
                  const bool isIgnored) override {
    ++m_entities;
    m_entityText += entity.getValueLen();
    if (isParameter || m_entityText > kEntityTextLimit) refuse(u"entity declaration refused");
    SAX2XMLReaderImpl::entityDecl(entity, isParameter, isIgnored);
  }

  void startAttList(const xercesc::DTDElementDecl&) override {
    if (m_entities > 0) refuse(u"attribute declarations after entity declarations refused");
  }

 private:
  // As the scanner does with its own fatal errors: it reports them and ends by throwing their code.
  [[noreturn]] void refuse(const XMLCh* message) {
    constexpr auto code = xercesc::XMLErrs::EntityExpansionLimitExceeded;
    if (getErrorHandler() != nullptr) {
      error(code, XMLUni::fgXMLErrDomain, ErrType_Fatal, message, kSystemId, nullptr, 0, 0);
    }
    throw code;
  }

  xercesc::DefaultHandler m_ignore;
  XMLSize_t m_entities = 0;
  XMLSize_t m_entityText = 0;
};

xercesc::InputSource* emptySource(const XMLCh* systemId) {
  static const XMLByte nothing = 0;
  return new xercesc::MemBufInputSource(&nothing, 0, systemId, false);
}

void validate(xercesc::SAX2XMLReader& reader, bool on) {
  reader.setFeature(XMLUni::fgSAX2CoreValidation, on);
  reader.setFeature(XMLUni::fgSAX2CoreNameSpaces, on);
  reader.setFeature(XMLUni::fgXercesSchema, on);
  reader.setFeature(XMLUni::fgXercesSchemaFullChecking, on);
}

// The reader's own handler ends the process; only a lack of memory leads here.
struct PanicHandler : xercesc::PanicHandler {
  void panic(const PanicReasons) override { throw std::bad_alloc(); }
};

std::exception_ptr start() {
  static PanicHandler handler;
  try {
    xercesc::XMLPlatformUtils::Initialize(XMLUni::fgXercescDefaultLocale, nullptr, &handler);
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
}

}  // namespace

// A start that failed leaves the platform half made. It can be neither repeated nor undone.
void startXerces() {
  static const std::exception_ptr failure = start();
  if (failure) std::rethrow_exception(failure);
}

// Lets the reader open the schema; whatever else a document names is empty.
class CFiSaxParser::SchemaResolver : public xercesc::EntityResolver {
 public:
  explicit SchemaResolver(const XMLCh* path) : m_path(path) {}

  xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh* systemId) override {
    return systemId != nullptr && m_path == systemId ? nullptr : emptySource(systemId);
  }

 private:
  std::u16string m_path;
};

CFiSaxParser::CFiSaxParser(xercesc::DefaultHandler* handler, const char* schema) {
  init();
  if (handler != nullptr) setHandler(handler);
  if (schema != nullptr) setInputSchema(schema);
}

CFiSaxParser::~CFiSaxParser() = default;

void CFiSaxParser::init() {
  m_reader.reset();
  m_setUpFailed = false;
  setUp(m_setUpFailed, [this] { createReader(); });
  if (m_handler != nullptr) setHandler(m_handler);
}

void CFiSaxParser::createReader() {
  m_reader = std::make_unique<BoundedReader>();
  validate(*m_reader, false);
  m_reader->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  m_reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  m_reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  m_reader->setProperty(XMLUni::fgXercesSecurityManager, expansionBounds());
}

void CFiSaxParser::setHandler(xercesc::DefaultHandler* handler) {
  m_handler = handler;
  if (!m_reader) return;
  setUp(m_setUpFailed, [&] {
    m_reader->setContentHandler(handler);
    m_reader->setErrorHandler(handler);
  });
}

void CFiSaxParser::setInputSchema(const char* path) {
  if (!m_reader || path == nullptr) return;
  setUp(m_setUpFailed, [&] { useSchema(path); });
}

void CFiSaxParser::useSchema(const char* path) {
  XMLCh* location = CFiXStringTool::unicodeForm(path);
  const xercesc::ArrayJanitor<XMLCh> release(location, xercesc::XMLPlatformUtils::fgMemoryManager);
  validate(*m_reader, true);
  m_reader->setFeature(XMLUni::fgXercesUseCachedGrammarInParse, true);
  m_reader->setProperty(XMLUni::fgXercesSchemaExternalNoNameSpaceSchemaLocation, location);
  auto resolver = std::make_unique<SchemaResolver>(location);
  m_reader->setEntityResolver(resolver.get());
  m_resolver = std::move(resolver);
  m_reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, false);
}

void CFiSaxParser::parse(const std::string& text) { parse(text.data(), text.size()); }

void CFiSaxParser::parse(const char* text, size_t length) {
  if (!m_reader || m_setUpFailed) throw std::runtime_error("the XML reader could not be set up");
  if (text == nullptr) return parse("", 0);
  try {
    withMemory([&] {
      xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text), length, kSystemId);
      source.setCopyBufToStream(false);
      m_reader->parse(source);
    });
  } catch (const std::bad_alloc&) {
    m_setUpFailed = true;  // the reader is in no state to go on
    throw;
  }
}

void CFiSaxParser::parse(const std::vector<std::string>& lines) {
  std::string text;
  text.reserve(
      std::accumulate(lines.begin(), lines.end(), size_t{0},
                      [](size_t sum, const std::string& line) { return sum + line.size(); }));
  for (const std::string& line : lines) text += line;
  parse(text);
}

}  // namespace orca_pdk_4_4
