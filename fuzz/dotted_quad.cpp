#include "adapters/DottedQuad.h"
#include "fuzz/FuzzSupport.h"

#include <algorithm>

// Input: an address as number (four bytes), an address as text.

namespace {

void checkNumber(quint32 value)
{
    const QStringList octets = DottedQuad::toOctets(value);
    expect(octets.size() == DottedQuad::octetCount, "a number has four octets");
    expect(DottedQuad::fromOctets(octets) == value, "a number comes back from its octets");
    expect(DottedQuad::split(DottedQuad::join(octets)) == octets, "octets come back from a text");
}

/// Whether a text is an octet as a field shows it: 0 to 255, without anything else.
bool isOctet(const QString& text)
{
    bool isNumber = false;
    const uint value = text.toUInt(&isNumber);
    return isNumber && value <= 255 && QString::number(value) == text;
}

void checkText(const QString& text)
{
    const QStringList octets = DottedQuad::split(text);
    const quint32 value = DottedQuad::fromOctets(octets);
    expect(octets.join(QLatin1Char('.')) == text, "splitting loses nothing");
    expect(DottedQuad::fromOctets(octets.mid(0, DottedQuad::octetCount)) == value,
           "only four octets count");
    QStringList filled = octets;
    filled << DottedQuad::zero();
    filled = filled.mid(0, DottedQuad::octetCount);
    expect(DottedQuad::fromOctets(filled) == value, "a missing octet counts as 0");
    const QString joined = DottedQuad::join(octets);
    expect(joined.startsWith(octets.mid(0, DottedQuad::octetCount).join(QLatin1Char('.'))),
           "joining takes the texts as they stand");
    expect(octets.size() != DottedQuad::octetCount || joined == text, "four texts come back");
    if (std::all_of(filled.cbegin(), filled.cend(), isOctet)) {
        expect(DottedQuad::toOctets(value) == filled, "an address comes back from its number");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    checkNumber(input.number());
    const std::string text = input.rest();
    checkText(QString::fromUtf8(text.data(), int(text.size())));
    return 0;
}
