#include "Common_CPP/trace/expr.h"
#include "Common_CPP/trace/expr_compiler.h"
#include "Common_CPP/trace/expr_matcher.h"
#include "Tests/oracle/expr_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using kx::Expr;

namespace {

std::string Times(std::string_view text, std::size_t count)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

// Dumps are what the compiler makes; whether that matches rightly is left to the tables below and the judge.
TEST(ExprCompiler, EmitsTheseSteps)
{
    const struct {
        const char* expression;
        const char* dump;
    } kRows[] = {
        {"a*?b", "< 2: 0 'a' 1; 1 maybe lazy /0 3; 2 'b' 1; 3 match"},
        {"(ab)+", "< 1: 0 'a' 2; 1 'b' 0; 2 maybe /1 3; 3 match"},
        {"a|b|c", "< 4: 0 'a' 5; 1 'b' 5; 2 either /0 1; 3 'c' 5; 4 either /2 3; 5 match"},
        {"[^b-y-]", "< 0: 0 [\\x00-,.-az-\\xff] 1; 1 match"},
        {"a!b", "< 3: 0 'a' 4; 1 'b' 2; 2 found /1; 3 not /2 0; 4 match"},
        {"gp.*", "< 1: 0 'g' 4; 1 'p' 0; 2 any 3; 3 maybe /2 1; 4 match"}, // the end is skipped
        {"({a}?)*\\1", "> 6: 0 'a' 2; 1 open 1 0; 2 close 1 5; 3 maybe /1 5; 4 mark #0 3; "
                       "5 again /4 7; 6 maybe /4 7; 7 same 1 8; 8 match"},
    };

    for (const auto& row : kRows) {
        kx::ExprProgram program;
        ASSERT_TRUE(kx::CompileExpression(row.expression, program)) << row.expression;
        EXPECT_EQ(Dump(program), row.dump) << row.expression;
    }
}

TEST(Expr, KeepsToItsLimits)
{
    EXPECT_FALSE(Expr::Compile(std::string(kx::kMaxExpression + 1, 'a')));
    EXPECT_TRUE(Expr::Compile(std::string(kx::kMaxExpression, 'a'))) << "a literal needs no steps";
    EXPECT_FALSE(Expr::Compile(std::string(kx::kMaxSteps - 1, 'a') + '.'));
    EXPECT_TRUE(Expr::Compile(std::string(kx::kMaxSteps - 2, 'a') + '.'));
}

// What is too long for the judge below.
TEST(Expr, FindsMatchesAnywhere)
{
    const struct {
        const char* expression;
        std::vector<std::string> found;
        std::vector<std::string> notFound;
    } kRows[] = {
        {"xml", {"gp_xml", "gp_xml_merge"}, {"gp_xm", "XML"}},
        {"gp_.+", {"gp_x"}, {"gp_"}},
        {"kx_|gp_", {"my_gp_xml"}, {"my_xml"}},
        {"[a-z]+_log", {"rsop_log"}, {"_log"}},
        {"<{.*?}>.*?</\\1>", {"<b><i>x</b>"}, {"<b><i>x</u>"}},
        {"{.}{.}\\2\\1", {"xabbay"}, {"xababy"}},
        {"^({b|a\\1}x)+y", {}, {"^bxabxy"}},
    };

    for (const auto& row : kRows) {
        const std::optional<Expr> expression = Expr::Compile(row.expression);
        ASSERT_TRUE(expression) << row.expression;
        for (const std::string& subject : row.found)
            EXPECT_TRUE(expression->Search(subject)) << row.expression << " on " << subject;
        for (const std::string& subject : row.notFound)
            EXPECT_FALSE(expression->Search(subject)) << row.expression << " on " << subject;
    }
}

TEST(Expr, KnowsItsTextAndSharesItWithCopies)
{
    EXPECT_TRUE(Expr().MatchesAll());
    EXPECT_TRUE(Expr::Compile(".*")->MatchesAll());
    std::optional<Expr> original = Expr::Compile("gp_[a-z]+");
    ASSERT_TRUE(original);
    const Expr copy = *original;
    original.reset();
    EXPECT_FALSE(copy.MatchesAll());
    EXPECT_EQ(copy.Text(), "gp_[a-z]+");
    EXPECT_TRUE(copy.Search("gp_xml"));
}

// Each of these would take ages, or more stack than there is, if work or depth grew with the input.
TEST(Expr, EndsSoonWhateverItIsGiven)
{
    const std::string manyA = Times("a", 260);

    const struct {
        const char* why;
        std::string expression;
        std::string subject;
        bool matches;
    } kRows[] = {
        {"repeated repetition", "(a*)*b", manyA, false},
        {"the same twice", "(a|a)*b", manyA, false},
        {"its negation", "x!((a+)+b)", "x" + manyA, true},
        {"nested groups", Times("(", 500) + "a" + Times(")", 500), "xa", true},
        {"nested repetitions", Times("(", 250) + "a" + Times(")*", 250) + "b", manyA, false},
        {"nested match groups", Times("{", 500) + "a" + Times("}", 500) + "\\9", "aa", true},
        {"nested, with references", Times("(", 250) + "{a}\\1" + Times("*)", 250) + "b", manyA + "b", true},
        {"an even number of negations", Times("!", 500) + "a", "xa", true},
        {"an odd number of negations", Times("!", 501) + ".", "a", true},
        {"long subject", "(x|y.*)z", Times("xy", 100'000), false},
        {"long subject with reference", "{a}(.*\\1)*b", Times("a", 100'000), false},
        {"more empty iterations than bytes", "({}|{a*}|\\2)*b\\1", manyA + "b", true},
        {"beyond the step limit counts as no match", "(\\0|{(a*)*}\\1)*b", manyA + "b", false},
    };

    for (const auto& row : kRows) {
        const std::optional<Expr> expression = Expr::Compile(row.expression);
        ASSERT_TRUE(expression) << row.why;
        EXPECT_EQ(expression->Search(row.subject), row.matches) << row.why;
    }
}

// All expressions of a kind against the judge.
class Exhaustive {
  public:
    Exhaustive(std::string_view alphabet, std::size_t longest) : _m_subjects{""}
    {
        for (std::size_t i = 0; i < _m_subjects.size() && _m_subjects[i].size() < longest; ++i)
            for (const char character : alphabet)
                _m_subjects.push_back(_m_subjects[i] + character);
    }

    void Check(const std::string& expression)
    {
        if (std::count(expression.begin(), expression.end(), '{') >=
            std::ptrdiff_t{oracle::Expression::kGroups})
            return; // more groups than the judge can hold, with the one around it all
        const auto judge = oracle::Expression::Parse(expression);
        const auto product = Expr::Compile(expression);
        ASSERT_EQ(product.has_value(), judge.has_value()) << expression;
        if (!judge)
            return;
        ++_m_checked;
        for (const std::string& subject : _m_subjects) {
            const std::optional<bool> expected = judge->Search(subject);
            ASSERT_TRUE(expected) << expression;
            ASSERT_EQ(product->Search(subject), *expected) << expression << " on \"" << subject << '"';
        }
    }

    // Every row of up to `longest` tokens, well formed or not.
    void CheckTokens(const std::vector<std::string>& tokens, std::size_t longest,
                     const std::string& text = "")
    {
        Check(text);
        for (const std::string& token : tokens)
            if (longest > 0 && !testing::Test::HasFatalFailure())
                CheckTokens(tokens, longest - 1, text + token);
    }

    [[nodiscard]] std::size_t Checked() const { return _m_checked; }

  private:
    std::vector<std::string> _m_subjects;
    std::size_t _m_checked = 0;
};

TEST(ExprExhaustive, RowsOfTokens)
{
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);

    const struct {
        const char* why;
        const char* tokens;
        std::size_t mostTokens;
        std::string alphabet;
        std::size_t longest;
        std::size_t atLeast;
    } kRows[] = {
        {"all there is", "a b . [^a] ( ) { } | ! * +? \\1", 4, "ab", 3, 3'000},
        {"repetitions", "a . [^b] ( ) * +? ? !", 5, "abc", 2, 5'000},
        {"back-references", "( ) {a} b| * \\1 !", 6, "ab", 4, 500},
        {"groups by their numbers", "a b { } ( ) \\0 \\1 \\2 *", 4, "ab", 3, 500},
        {"classes", "[ ] ^ - a c \\", 5, "abc]^-\\[", 1, 3'000},
        {"escapes", "\\a \\b \\c \\d \\h \\n \\q \\s \\w \\z \\. \\ [\\d] [\x80-\xff] ^ $", 1, everyByte, 1,
         14},
        {"escapes of many", "x \\d \\n \\q \\w \\z ! ? |", 3, "x1\r\n\"'", 3, 300},
    };

    for (const auto& row : kRows) {
        SCOPED_TRACE(row.why);
        std::istringstream text(row.tokens);
        Exhaustive all(row.alphabet, row.longest);
        all.CheckTokens({std::istream_iterator<std::string>(text), {}}, row.mostTokens);
        EXPECT_GT(all.Checked(), row.atLeast);
    }
}

} // namespace
