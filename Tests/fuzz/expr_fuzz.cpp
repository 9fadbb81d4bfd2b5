// libFuzzer target: the first line is an expression, the rest a subject. A search must return within its
// share of processor time, and small cases must be answered as the judge answers them.
//
//   expr_fuzz -dict=expr.dict -max_len=1024
#include "Common_CPP/trace/expr.h"
#include "Tests/oracle/expr_oracle.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

// Far above what limits and sizes allow even when instrumented, far below what exponential work takes.
constexpr double kMostSeconds = 3;

[[noreturn]] void Fail(const char* why, std::string_view expression, std::string_view subject)
{
    std::fprintf(stderr, "%s: [%.*s] on [%.*s]\n", why, static_cast<int>(expression.size()),
                 expression.data(), static_cast<int>(subject.size()), subject.data());
    std::abort();
}

void CompareWithJudge(const std::optional<kx::Expr>& product, std::string_view expression,
                      std::string_view subject, bool found)
{
    // The judge also refuses expressions with more groups than it can hold, so a refusal proves nothing.
    const std::optional<oracle::Expression> judge = oracle::Expression::Parse(expression);
    if (!judge)
        return;
    if (!product)
        Fail("refused", expression, subject);
    const std::optional<bool> expected = judge->Search(subject);
    if (expected && *expected != found)
        Fail("wrong answer", expression, subject);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t lineEnd = input.find('\n');
    const std::string_view expression = input.substr(0, lineEnd);
    const std::string_view subject =
        lineEnd == std::string_view::npos ? std::string_view() : input.substr(lineEnd + 1);

    const std::clock_t before = std::clock();
    const std::optional<kx::Expr> product = kx::Expr::Compile(expression);
    const bool found = product && product->Search(subject);
    if (static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC > kMostSeconds)
        Fail("too slow", expression, subject);

    if (expression.size() <= 24 && subject.size() <= 12)
        CompareWithJudge(product, expression, subject, found);
    return 0;
}
