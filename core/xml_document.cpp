#include "core/xml_document.h"

#include <cstdint>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "core/errors.h"

namespace vyn {

namespace {

namespace xc = xercesc;

constexpr std::size_t most_levels = 256;  ///< bounds the recursion of whoever walks the elements

/// UTF-16 as the parser holds it, to UTF-8. Surrogates come in pairs: the parser has checked them.
void append_utf8(std::string& text, const XMLCh* characters, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t code = characters[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < count)
            code = 0x10000 + ((code - 0xD800) << 10) + (characters[++i] - 0xDC00u);
        const auto put = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
        const auto put_rest = [&](int shift) { put(0x80 | ((code >> shift) & 0x3F)); };
        if (code < 0x80) {
            put(code);
        } else if (code < 0x800) {
            put(0xC0 | (code >> 6));
            put_rest(0);
        } else if (code < 0x10000) {
            put(0xE0 | (code >> 12));
            put_rest(6);
            put_rest(0);
        } else {
            put(0xF0 | (code >> 18));
            put_rest(12);
            put_rest(6);
            put_rest(0);
        }
    }
}

std::string utf8(const XMLCh* text) {
    std::string result;
    if (text) append_utf8(result, text, xc::XMLString::stringLen(text));
    return result;
}

/// Builds the elements while the parser reads. Too deep nesting ends the parse before memory is
/// taken for it.
class TreeBuilder final : public xc::DefaultHandler {
  public:
    explicit TreeBuilder(const std::string& file) : file_(file) {}

    XmlElement take_root() { return std::move(document_.children.front()); }

    void setDocumentLocator(const xc::Locator* locator) override { locator_ = locator; }

    void startElement(const XMLCh*, const XMLCh*, const XMLCh* name,
                      const xc::Attributes& attributes) override {
        if (open_.size() > most_levels) refuse_here("its elements are nested too deep");
        XmlElement& element = open_.back()->children.emplace_back();
        element.name = utf8(name);
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i)
            element.attributes.emplace_back(utf8(attributes.getQName(i)),
                                            utf8(attributes.getValue(i)));
        element.line = locator_->getLineNumber();
        element.column = locator_->getColumnNumber();
        open_.push_back(&element);
    }

    void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override { open_.pop_back(); }

    void characters(const XMLCh* text, XMLSize_t length) override {
        append_utf8(open_.back()->text, text, length);
    }

    void error(const xc::SAXParseException& problem) override { fatalError(problem); }

    void fatalError(const xc::SAXParseException& problem) override {
        refuse(problem.getLineNumber(), problem.getColumnNumber(), utf8(problem.getMessage()));
    }

    [[noreturn]] void refuse_here(const std::string& why) const {
        refuse(locator_->getLineNumber(), locator_->getColumnNumber(), why);
    }

  private:
    [[noreturn]] void refuse(XMLFileLoc line, XMLFileLoc column, const std::string& why) const {
        throw FileError("File error!", file_ + ":" + std::to_string(line) + ":" +
                                           std::to_string(column) + ": " + why);
    }

    const std::string& file_;
    const xc::Locator* locator_ = nullptr;
    XmlElement document_;  ///< holds the root as its child
    /// From the document down to the element being read. Only the last one's children grow, so the
    /// others stay where they are.
    std::vector<XmlElement*> open_{&document_};
};

/// A reader that a DOCTYPE stops before anything in it is looked at. A lexical handler alone would
/// not hear of one without a subset; having one is what makes the scanner report it here.
class Reader final : public xc::SAX2XMLReaderImpl {
  public:
    explicit Reader(TreeBuilder& builder) : builder_(builder) {
        setFeature(xc::XMLUni::fgSAX2CoreValidation, false);
        setFeature(xc::XMLUni::fgSAX2CoreNameSpaces, false);
        setFeature(xc::XMLUni::fgXercesSchema, false);
        setFeature(xc::XMLUni::fgXercesLoadExternalDTD, false);
        setFeature(xc::XMLUni::fgXercesDisableDefaultEntityResolution, true);
        setContentHandler(&builder);
        setLexicalHandler(&builder);
        setErrorHandler(&builder);
    }

    void doctypeDecl(const xc::DTDElementDecl&, const XMLCh*, const XMLCh*, bool, bool) override {
        builder_.refuse_here("a DOCTYPE is not accepted");
    }

  private:
    TreeBuilder& builder_;
};

/// Once for the whole run and never taken back: readers may be used until the program ends.
void initialise_xerces() {
    static const bool done = (xc::XMLPlatformUtils::Initialize(), true);
    static_cast<void>(done);
}

}  // namespace

const std::string* XmlElement::attribute(std::string_view attribute_name) const {
    for (const auto& [key, value] : attributes)
        if (key == attribute_name) return &value;
    return nullptr;
}

const XmlElement* XmlElement::child(std::string_view child_name) const {
    for (const XmlElement& element : children)
        if (element.name == child_name) return &element;
    return nullptr;
}

XmlElement parse_xml(const std::string& text, const std::string& name) {
    initialise_xerces();
    TreeBuilder builder(name);
    Reader reader(builder);
    const xc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                       "text");
    try {
        reader.parse(source);
    } catch (const xc::XMLException& problem) {
        throw FileError("File error!", name + ":" + std::to_string(problem.getSrcLine()) + ": " +
                                           utf8(problem.getMessage()));
    } catch (const xc::OutOfMemoryException&) {
        throw FileError("File error!", name + ": out of memory");
    }
    return builder.take_root();
}

}  // namespace vyn
