// The system's own parser, alone and as it comes: what it says of the documents that the facility refuses and takes.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "platform/Xml.h"
#include "platform/win32.h"
#include "tests/platform/XmlCases.h"

// These use a name that win32.h gives back to us.
#define interface struct
#include <ole2.h>
// In this order: the second stands on the first.
#include <msxml2.h>
#undef interface

namespace velmora::test {

namespace {

constexpr CLSID kDocumentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

class WindowsXmlOpinion : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0);
        ASSERT_EQ(CoCreateInstance(kDocumentClass, nullptr, 23, IID_IXMLDOMDocument, reinterpret_cast<void**>(&document_)), S_OK);
        document_->put_async(VARIANT_FALSE);
        document_->put_preserveWhiteSpace(VARIANT_TRUE);
        document_->put_resolveExternals(VARIANT_FALSE);
        document_->put_validateOnParse(VARIANT_FALSE);
    }
    void TearDown() override
    {
        if (document_) document_->Release();
        CoUninitialize();
    }
    bool Takes(std::string_view bytes)
    {
        SAFEARRAY* const array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
        void* data = nullptr;
        EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
        std::memcpy(data, bytes.data(), bytes.size());
        SafeArrayUnaccessData(array);
        VARIANT source;
        VariantInit(&source);
        source.vt = VT_ARRAY | VT_UI1;
        source.parray = array;
        VARIANT_BOOL loaded = VARIANT_FALSE;
        document_->load(source, &loaded);
        VariantClear(&source);
        return loaded != VARIANT_FALSE;
    }
    IXMLDOMDocument* document_ = nullptr;
};

TEST_F(WindowsXmlOpinion, WhatTheFacilityRefusesItRefuses)
{
    for (const XmlCase& one : kRefused) {
        if (one.others == Opinion::Same) {
            EXPECT_FALSE(Takes(one.bytes)) << one.bytes;
        }
    }
}

TEST_F(WindowsXmlOpinion, WhatTheFacilityTakesItTakes)
{
    for (const XmlCase& one : kTaken) {
        if (one.others == Opinion::Same) {
            EXPECT_TRUE(Takes(one.bytes)) << one.bytes;
        }
    }
}

TEST_F(WindowsXmlOpinion, ReferencesToControlBytesAreWhatItWouldRefuse)
{
    for (const XmlCase& one : kTaken) {
        if (one.others == Opinion::RefusesIt) {
            EXPECT_FALSE(Takes(one.bytes)) << one.bytes;
        }
    }
}

TEST(WindowsXmlThreads, AThreadThatNobodyPreparedIsStarted)
{
    std::string text;
    std::thread([&text] {
        const auto document = platform::XmlDocument::Create();
        if (document->LoadBytes("<a>x</a>")) text = document->DocumentElement().Text();
    }).join();
    EXPECT_EQ(text, "x");
}

TEST(WindowsXmlThreads, AThreadOfAnApartmentStaysThat)
{
    HRESULT model = E_FAIL;
    std::string text;
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        {
            const auto document = platform::XmlDocument::Create();
            if (document->LoadBytes("<a>x</a>")) text = document->DocumentElement().Text();
        }
        model = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        CoUninitialize();
        CoUninitialize();
    }).join();
    EXPECT_EQ(text, "x");
    EXPECT_EQ(model, S_FALSE);
}

}  // namespace

}  // namespace velmora::test
