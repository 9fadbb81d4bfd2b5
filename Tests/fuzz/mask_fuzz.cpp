// libFuzzer target: secrets behind dots. Documents are made from the input with secrets in them that a mark
// tells from all else: of the masked document no secret is left, and nothing else is missing. Any text is
// masked as well, to something in which masking finds no secret any more.
//
//   mask_fuzz -max_len=512 -dict=mask.dict
#include "Tests/fuzz/fuzz_input.h"
#include "Tools/kx_gpsim/secrets.h"

#include <string>
#include <vector>

namespace {

using fuzz::Require;

constexpr char kSecret = '\1'; // secrets consist of it, so a byte of one is found wherever it went
constexpr const char* kSecretNames[] = {"password", "Password", "oldPASSWORD", "x:Password"};
constexpr const char* kOpenNames[] = {"Policy", "passwords", "pass", "Password.hint", "p"};

// Writes a document and, beside it, what masking is to make of it.
class Writer {
  public:
    explicit Writer(fuzz::Input input) : _m_input(input) {}

    void Run()
    {
        while (!_m_input.IsEmpty())
            _Step(_m_input.Byte());
        while (!_m_open.empty())
            _Close();
    }

    [[nodiscard]] const std::string& Document() const { return _m_document; }

    [[nodiscard]] const std::string& Masked() const { return _m_masked; }

  private:
    [[nodiscard]] bool _IsInSecret() const { return _m_secretDepth > 0; }

    void _Step(std::uint8_t choice)
    {
        switch (choice % 8) {
        case 0:
        case 1:
            return _Open(choice);
        case 2:
            return _Close();
        case 3:
            return _Section(choice, "<![CDATA[", "]]>");
        case 4:
            return _Section(choice, "<!--", "-->");
        default:
            return _Text(choice);
        }
    }

    void _Both(std::string_view text)
    {
        _m_document += text;
        _m_masked += text;
        _m_textBefore = false;
    }

    // Content of a secret, one piece; what follows directly is part of it.
    void _Hidden(std::string_view text)
    {
        _m_document += text;
        _m_masked += "...";
    }

    void _Open(std::uint8_t choice)
    {
        const bool secret = choice & 8;
        const std::string name = secret ? kSecretNames[choice / 16 % std::size(kSecretNames)]
                                        : kOpenNames[choice / 16 % std::size(kOpenNames)];
        _Both("<" + name);
        for (std::uint8_t more = _m_input.Byte(); more & 1; more = _m_input.Byte())
            _Attribute(more);
        if (choice & 128) {
            _Both(" />");
            return;
        }
        _Both(">");
        _m_open.push_back(name);
        if (secret || _IsInSecret())
            ++_m_secretDepth;
    }

    void _Attribute(std::uint8_t choice)
    {
        const bool secret = choice & 2;
        const char quote = choice & 4 ? '\'' : '"';
        const std::string name = secret ? kSecretNames[choice / 8 % std::size(kSecretNames)]
                                        : kOpenNames[choice / 8 % std::size(kOpenNames)];
        _Both((choice & 32 ? "\r\n\t" : " ") + name + (choice & 64 ? " = " : "=") + quote);
        // A '>' or the other mark ends nothing here, and a value may look like an attribute.
        const std::string value(choice / 32U, secret ? kSecret : choice & 4 ? '"' : '>');
        if (secret && !value.empty())
            _Hidden(value);
        else
            _Both(value);
        _Both({&quote, 1});
    }

    void _Close()
    {
        if (_m_open.empty())
            return;
        _m_secretDepth -= _IsInSecret() ? 1 : 0;
        _Both("</" + _m_open.back() + ">");
        _m_open.pop_back();
    }

    void _Section(std::uint8_t choice, std::string_view begin, std::string_view end)
    {
        const std::string content(choice / 16U, _IsInSecret() ? kSecret : '<');
        std::string section(begin);
        section.append(content).append(end);
        if (_IsInSecret())
            _Hidden(section);
        else
            _Both(section);
        _m_textBefore = false;
    }

    void _Text(std::uint8_t choice)
    {
        if (_m_textBefore || choice / 8 == 0)
            return; // two texts in a row are one
        const std::string text(choice / 8U, _IsInSecret() ? kSecret : choice & 1 ? '"' : '=');
        if (_IsInSecret())
            _Hidden(text);
        else
            _Both(text);
        _m_textBefore = true;
    }

    fuzz::Input _m_input;
    std::string _m_document;
    std::string _m_masked;
    std::vector<std::string> _m_open;
    int _m_secretDepth = 0;
    bool _m_textBefore = false;
};

void CheckDocument(const Writer& writer)
{
    const std::string masked = kx::MaskXml(writer.Document());
    Require(masked.find(kSecret) == masked.npos, "part of a secret is left");
    Require(masked == writer.Masked(), "something else than secrets is masked");
}

// Pieces of one secret, each behind dots of its own, are one piece when they are masked again.
std::string WithDotsJoined(std::string text)
{
    for (std::size_t at = 0; (at = text.find("......", at)) != text.npos;)
        text.erase(at, 3);
    return text;
}

void CheckAnyText(const std::string& text)
{
    const std::string masked = kx::MaskXml(text);
    Require(WithDotsJoined(kx::MaskXml(masked)) == WithDotsJoined(masked), "a second masking masks more");
    std::string lower = text;
    for (char& unit : lower)
        unit = unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
    Require(masked == text || lower.find("password") != lower.npos, "masked without a secret's name");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Writer writer(fuzz::Input(data, size));
    writer.Run();
    CheckDocument(writer);
    CheckAnyText(std::string(data, data + size));
    return 0;
}
