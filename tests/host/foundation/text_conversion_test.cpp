#include <logging2/host/foundation/text_conversion.hpp>

#include <gtest/gtest.h>

#include <string>

namespace {

struct Texts {
    std::u16string utf16;
    std::string utf8;
};

const Texts texts[] = {
    {u"", ""},
    {u"times_0", "times_0"},
    {u"J\u00fcrgen", "J\xc3\xbcrgen"},
    {u"\u20ac", "\xe2\x82\xac"},
    {u"\U0001f600", "\xf0\x9f\x98\x80"},
};

TEST(TextConversionTest, convertsUtf16ToUtf8) {
    for (const Texts& text : texts) {
        EXPECT_EQ(foundation::ustring_to_utf8_string(text.utf16), text.utf8);
    }
}

TEST(TextConversionTest, convertsUtf8ToUtf16) {
    for (const Texts& text : texts) {
        EXPECT_EQ(foundation::utf8_string_to_ustring(text.utf8), text.utf16);
    }
}

TEST(TextConversionTest, localEncodingIsUtf8) {
    for (const Texts& text : texts) {
        EXPECT_EQ(foundation::ustring_to_local_encoded_string(text.utf16), text.utf8);
        EXPECT_EQ(foundation::local_encoded_string_to_ustring(text.utf8), text.utf16);
    }
}

TEST(TextConversionTest, invalidCharactersAreDropped) {
    const std::u16string loneSurrogate{u'a', char16_t{0xdc00}, u'b'};
    EXPECT_EQ(foundation::ustring_to_utf8_string(loneSurrogate), "ab");
    EXPECT_EQ(foundation::utf8_string_to_ustring("a\xff"
                                                 "b"),
              u"ab");
}

} // namespace
