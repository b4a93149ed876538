#include "os/posix/charsets.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace Velmor::os::posix {

namespace {

constexpr CodePage codePages[] = {
    {866, "CP866", 0, u'?'},
    {874, "CP874", 0xF8C1, u'?'},
    {932, "CP932", 0xF8F0, u'\u30FB'},
    {936, "GBK", 0xF8F5, u'?', true},
    {949, "CP949", 0xF8F7, u'?', true},
    {950, "CP950", 0xF8F8, u'?', true},
    {1250, "CP1250", 0, u'?'},
    {1251, "CP1251", 0, u'?'},
    {1252, "CP1252", 0, u'?'},
    {1253, "CP1253", 0xF8F9, u'?'},
    {1254, "CP1254", 0, u'?'},
    {1255, "CP1255", 0xF88D, u'?'},
    {1256, "CP1256", 0, u'?'},
    {1257, "CP1257", 0xF8FC, u'?'},
    {1258, "CP1258", 0, u'?'},
    {20866, "KOI8-R", 0, u'?'},
    {21866, "KOI8-U", 0, u'?'},
    {28591, "ISO-8859-1", 0, u'?'},
    {28592, "ISO-8859-2", 0, u'?'},
    {28593, "ISO-8859-3", 0xF7F5, u'?'},
    {28594, "ISO-8859-4", 0, u'?'},
    {28595, "ISO-8859-5", 0, u'?'},
    {28596, "ISO-8859-6", 0xF7C8, u'?'},
    {28597, "ISO-8859-7", 0xF7C2, u'?'},
    {28598, "ISO-8859-8", 0xF79C, u'?'},
    {28599, "ISO-8859-9", 0, u'?'},
    {28600, "ISO-8859-10", 0, u'?'},
    {28601, "ISO-8859-11", 0, u'?'},
    {28603, "ISO-8859-13", 0, u'?'},
    {28604, "ISO-8859-14", 0, u'?'},
    {28605, "ISO-8859-15", 0, u'?'},
    {28606, "ISO-8859-16", 0, u'?'},
    {51932, "EUC-JP", 0, u'?'},
    {51949, "EUC-KR", 0, u'?'},
    {51950, "EUC-TW", 0, u'?'},
    {54936, "GB18030", 0, u'?'},
    // Charsets without a number in Windows.
    {0x10000, "ARMSCII-8", 0, u'?'},
    {0x10001, "BIG5-HKSCS", 0, u'?'},
    {0x10002, "GEORGIAN-PS", 0, u'?'},
    {0x10003, "KOI8-T", 0, u'?'},
    {0x10004, "PT154", 0, u'?'},
    {0x10005, "RK1048", 0, u'?'},
};

/// A charset name of locales that is not the iconv name of the code page.
struct Charset {
    const char* name;
    unsigned codePage;
};

constexpr Charset charsets[] = {
    {"UTF-8", utf8CodePage}, {"ANSI_X3.4-1968", utf8CodePage},
    {"BIG5", 950},           {"CP936", 936},
    {"GB2312", 936},         {"IBM866", 866},
    {"SHIFT_JIS", 932},      {"SJIS", 932},
    {"TIS-620", 874},        {"UHC", 949},
    {"WINDOWS-31J", 932},
};

} // namespace

const CodePage* findCodePage(unsigned number) {
    const auto* const found = std::find_if(std::begin(codePages), std::end(codePages),
                                           [number](const CodePage& page) { return page.number == number; });
    return found != std::end(codePages) ? found : nullptr;
}

unsigned codePageOfCharset(const char* charset) {
    for (const Charset& entry : charsets)
        if (std::strcmp(entry.name, charset) == 0)
            return entry.codePage;
    for (const CodePage& page : codePages)
        if (std::strcmp(page.converter, charset) == 0)
            return page.number;
    return utf8CodePage;
}

} // namespace Velmor::os::posix
