#include "cfisaxparser.h"

#include <exception>
#include <new>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/PanicHandler.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/RuntimeException.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "cfisaxhandler.h"
#include "cfixerces.h"
#include "cfixstringtool.h"

namespace orca_pdk_4_4 {
namespace {

using xercesc::XMLUni;

constexpr XMLCh kSystemId[] = u"orca_sax_parser";

// What a document may make of itself: 16 times its own length and 16 MiB. Entities keep within that
// because none that is used is longer than kEntityLength, and only so many are expanded. Each level
// of entities within entities costs the reader some 160 KiB.
constexpr size_t growthLimit(size_t length) { return 16 * (length + (size_t{1} << 20)); }
constexpr XMLSize_t kEntityLength = 4096;
constexpr XMLSize_t expansionLimit(size_t length) { return growthLimit(length) / kEntityLength; }
constexpr size_t kNestedEntities = 64;
// 16 times the shortest reference to a parameter entity, "%p;".
constexpr XMLSize_t kParameterLength = 48;

// The system id of an entity that must not be used, which the reader's message quotes.
constexpr XMLCh kClosed[] = u"of a kind that could make the document grow";

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

// Keeps documents within their bounds, whatever their document type says. The reader has no event
// for most uses of an entity. So every entity is closed when it is declared, that is, made an
// external one that is never opened, and the harmless ones are opened again behind the
// declarations: the use of a closed one is an error that the reader finds and places by itself.
class CFiSaxParser::Reader : public xercesc::SAX2XMLReaderImpl {
 public:
  // Without a declaration handler the document type is not reported at all.
  Reader() { setDeclarationHandler(&m_ignore); }

  xercesc::SecurityManager* bounds() { return &m_bounds; }

  void read(const char* text, size_t length) {
    m_bounds.setEntityExpansionLimit(expansionLimit(length));
    m_defaultsLeft = growthLimit(length);
    xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text), length, kSystemId);
    source.setCopyBufToStream(false);
    SAX2XMLReaderImpl::parse(source);
  }

  void startIntSubset() override {
    m_harmless.clear();
    m_nested = 0;
  }

  void entityDecl(const xercesc::DTDEntityDecl& declared, const bool isParameter,
                  const bool isIgnored) override {
    if (isIgnored || declared.isExternal() || (isParameter && isShort(declared))) return;
    auto& entity = const_cast<xercesc::DTDEntityDecl&>(declared);
    if (!isParameter && isHarmless(entity)) m_harmless.push_back(&entity);
    entity.setSystemId(kClosed);
    entity.setIsExternal(true);
  }

  void endIntSubset() override {
    for (xercesc::DTDEntityDecl* entity : m_harmless) entity->setIsExternal(false);
    m_harmless.clear();
  }

  // Attribute defaults are repeated, and declared attributes walked through, for each element.
  void startElement(const xercesc::XMLElementDecl& element, const unsigned int uri,
                    const XMLCh* const prefix,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                    const XMLSize_t attributeCount, const bool isEmpty,
                    const bool isRoot) override {
    if (element.hasAttDefs()) {
      count(element.getAttDefList().getAttDefCount());
      for (XMLSize_t i = 0; i < attributeCount; ++i) countDefault(*attributes.elementAt(i));
    }
    SAX2XMLReaderImpl::startElement(element, uri, prefix, attributes, attributeCount, isEmpty,
                                    isRoot);
  }

  void error(const unsigned int code, const XMLCh* const domain, const ErrTypes type,
             const XMLCh* const text, const XMLCh* const systemId, const XMLCh* const publicId,
             const XMLFileLoc line, const XMLFileLoc column) override {
    const XMLCh* const refusal = std::exchange(m_refusal, nullptr);
    SAX2XMLReaderImpl::error(code, domain, type, refusal == nullptr ? text : refusal, systemId,
                             publicId, line, column);
  }

 private:
  static bool isShort(const xercesc::DTDEntityDecl& entity) {
    const XMLCh* const value = entity.getValue();
    return entity.getValueLen() <= kParameterLength &&
           xercesc::XMLString::indexOf(value, u'%') < 0 &&
           xercesc::XMLString::indexOf(value, u'&') < 0;
  }

  bool isHarmless(const xercesc::DTDEntityDecl& entity) {
    if (entity.getValueLen() > kEntityLength) return false;
    const bool isNested = xercesc::XMLString::indexOf(entity.getValue(), u'&') >= 0;
    return !isNested || ++m_nested <= kNestedEntities;
  }

  void countDefault(const xercesc::XMLAttr& attribute) {
    if (!attribute.getSpecified()) count(xercesc::XMLString::stringLen(attribute.getValue()));
  }

  void count(XMLSize_t size) {
    if (size > m_defaultsLeft)
      refuse(u"attributes refused: their declarations make the document grow");
    m_defaultsLeft -= size;
  }

  // The scanner reports the exception as a fatal error of the place where it stands.
  [[noreturn]] void refuse(const XMLCh* message) {
    m_refusal = message;
    throw xercesc::RuntimeException(__FILE__, __LINE__, xercesc::XMLExcepts::Gen_UnexpectedEOF);
  }

  xercesc::DefaultHandler m_ignore;
  xercesc::SecurityManager m_bounds;
  std::vector<xercesc::DTDEntityDecl*> m_harmless;
  size_t m_nested = 0;
  size_t m_defaultsLeft = 0;
  const XMLCh* m_refusal = nullptr;
};

// Lets the reader open the schema; whatever else a document names is empty.
class CFiSaxParser::SchemaResolver : public xercesc::EntityResolver {
 public:
  explicit SchemaResolver(const XMLCh* path) : m_path(path) {}

  xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh* systemId) override {
    if (xercesc::XMLString::equals(systemId, kClosed)) {
      throw xercesc::RuntimeException(__FILE__, __LINE__,
                                      xercesc::XMLExcepts::Gen_CouldNotOpenExtEntity, systemId);
    }
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
  m_reader = std::make_unique<Reader>();
  validate(*m_reader, false);
  m_reader->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  m_reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  m_reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  m_reader->setProperty(XMLUni::fgXercesSecurityManager, m_reader->bounds());
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
  if (auto* handler = dynamic_cast<CFiSaxParseHandler*>(m_handler)) {
    handler->limitText(growthLimit(length));
  }
  try {
    withMemory([&] { m_reader->read(text, length); });
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
