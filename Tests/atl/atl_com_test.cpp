#include "Common_CPP/atl/kx_atl.h"

#include <gtest/gtest.h>

#include <memory>
#include <string_view>
#include <utility>

namespace {

/// Counts its references, and may hold one to another object as lists do.
class Counted : public IUnknown {
  public:
    explicit Counted(int& references) : _m_references(references) {}

    virtual ~Counted() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** target) override
    {
        *target = IsEqualIID(iid, __uuidof(IUnknown)) ? this : nullptr;
        if (*target == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++_m_references); }

    ULONG STDMETHODCALLTYPE Release() override;

    CComPtr<Counted> next;

  private:
    int& _m_references;
};

// Kept out of line: seen through, it makes the compiler warn of a use after free that cannot happen.
[[gnu::noinline]] ULONG STDMETHODCALLTYPE Counted::Release()
{
    const int left = --_m_references;
    if (left == 0)
        delete this;
    return static_cast<ULONG>(left);
}

void MoveOnto(CComPtr<Counted>& to, CComPtr<Counted>& from)
{
    to = std::move(from);
}

std::wstring_view View(const CComBSTR& text)
{
    return {text.m_str, text.Length()};
}

} // namespace

TEST(CComPtrTest, EveryOperationKeepsTheCount)
{
    int references = 0;
    {
        CComPtr<Counted> first = new Counted(references);
        CComPtr<Counted> second = first;
        EXPECT_EQ(references, 2);
        CComPtr<Counted>& alias = second;
        second = alias;
        second = second.p;
        MoveOnto(second, alias);
        EXPECT_TRUE(references == 2 && second == first);
        CComPtr<Counted> third = std::move(second);
        // cppcheck-suppress accessMoved
        EXPECT_TRUE(references == 2 && !second && third);
        third = first;
        EXPECT_EQ(references, 2);

        CComPtr<IUnknown> queried;
        EXPECT_EQ(first.QueryInterface(&queried), S_OK);
        IUnknown* copied = nullptr;
        EXPECT_EQ(queried.CopyTo(&copied), S_OK);
        EXPECT_EQ(references, 4);
        queried.Attach(copied);
        EXPECT_EQ(references, 3);
        CComPtr<IDispatch> missing;
        EXPECT_TRUE(first.QueryInterface(&missing) == E_NOINTERFACE && !missing);

        third.Detach()->Release();
        EXPECT_TRUE(references == 2 && !third);
        queried.Release();
        queried.Release();
        first = nullptr;
        EXPECT_EQ(references, 0);
        EXPECT_EQ(first.CopyTo(nullptr), E_POINTER);
    }
    EXPECT_EQ(references, 0);
}

TEST(CComPtrTest, StepsToAnObjectThatOnlyTheOldOneHolds)
{
    int references[2] = {};
    CComPtr<Counted> step = new Counted(references[0]);
    step->next = new Counted(references[1]);
    step = step->next;
    EXPECT_TRUE(references[0] == 0 && references[1] == 1);
    step = step->next;
    EXPECT_EQ(references[1], 0);
}

TEST(CComBSTRTest, CopiesKeepNulsAndNulls)
{
    const CComBSTR text(3, L"a\0b");
    CComBSTR copy = text;
    EXPECT_NE(copy.m_str, text.m_str);
    CComBSTR& alias = copy;
    copy = alias;
    copy = std::move(alias);
    copy.Attach(copy.m_str);
    EXPECT_EQ(View(copy), std::wstring_view(L"a\0b", 3));

    const CComBSTR null(static_cast<const wchar_t*>(nullptr));
    copy = null;
    EXPECT_TRUE(!copy && copy.Length() == 0 && copy.Copy() == nullptr);
    copy = L"";
    EXPECT_TRUE(copy.m_str != nullptr && copy.Length() == 0);
    EXPECT_EQ(View(CComBSTR(CString(L"text"))), L"text");
    EXPECT_THROW(CComBSTR(-1, L""), CAtlException);
}

TEST(CComVariantTest, TypesFollowTheArgument)
{
    int references = 0;
    {
        const CComVariant object(CComPtr<IUnknown>(new Counted(references)).p);
        EXPECT_TRUE(object.vt == VT_UNKNOWN && references == 1);
        EXPECT_EQ(CComVariant(object).vt, VT_UNKNOWN);
    }
    EXPECT_EQ(references, 0);
    EXPECT_EQ(CComVariant(static_cast<IDispatch*>(nullptr)).vt, VT_DISPATCH);
    EXPECT_EQ(CComVariant(static_cast<const wchar_t*>(nullptr)).vt, VT_BSTR);
    EXPECT_TRUE(CComVariant(true).vt == VT_BOOL && CComVariant(true).boolVal == VARIANT_TRUE);
    EXPECT_TRUE(CComVariant(5).vt == VT_I4 && CComVariant(5L).vt == VT_I4);
    EXPECT_EQ(CComVariant(DISP_E_PARAMNOTFOUND, VT_ERROR).vt, VT_ERROR);
}

TEST(CComVariantTest, OwnsItsValue)
{
    CComVariant text(L"12");
    CComVariant copy = text;
    EXPECT_NE(copy.bstrVal, text.bstrVal);
    CComVariant& alias = copy;
    copy = alias;
    copy = std::move(alias);
    EXPECT_STREQ(copy.bstrVal, L"12");

    EXPECT_EQ(copy.ChangeType(VT_I4), S_OK);
    EXPECT_TRUE(copy.vt == VT_I4 && copy.lVal == 12);
    const CComVariant word(L"word");
    EXPECT_EQ(copy.ChangeType(VT_I4, &word), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(copy.lVal, 12);

    VARIANT raw;
    ::VariantInit(&raw);
    EXPECT_TRUE(text.Detach(&raw) == S_OK && text.vt == VT_EMPTY);
    EXPECT_TRUE(copy.Attach(&raw) == S_OK && raw.vt == VT_EMPTY);
    EXPECT_EQ(copy.Attach(&copy), S_OK);
    EXPECT_STREQ(copy.bstrVal, L"12");

    raw.vt = 0x0FFF;
    EXPECT_THROW(copy = raw, CAtlException);
}
