#include "Common_CPP/trace/expr.h"
#include "Common_CPP/trace/expr_compiler.h"
#include "Common_CPP/trace/expr_matcher.h"
#include "Tests/oracle/expr_oracle.h"

#include <gtest/gtest.h>

#include <chrono>
#include <new>
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

TEST(Expr, RefusesWhatIsNotWellFormed)
{
    const struct {
        const char* why;
        std::vector<std::string> expressions;
    } kRows[] = {
        {"brackets alone", {"(", ")", "{", "}", "[", "]"}},
        {"brackets without their other", {"(a", "a)", "{a", "a}", "[a", "[a-", "[a\\]"}},
        {"brackets that do not fit", {"(a}", "{a)", "({a)}"}},
        {"classes", {"[]", "[^]", "[z-a]"}},
        {"nothing to repeat", {"*", "+a", "?", "(*a)", "a|*"}},
        {"repeated twice", {"a**", "a+*", "a???", "a*??"}},
        {"half an escape", {"\\", "a\\"}},
        {"nothing to negate", {"!", "a!", "!|a", "(!)", "!*", "!)"}},
        {"references to no group", {"\\1", "\\9", "{a}\\2", "{a}\\d\\5"}},
        {"too long", {std::string(kx::kMaxExpression + 1, 'a')}},
        {"too many steps, with the last", {std::string(kx::kMaxSteps - 1, 'a') + '.'}},
    };

    for (const auto& row : kRows)
        for (const std::string& expression : row.expressions)
            EXPECT_FALSE(Expr::Compile(expression)) << row.why << ' ' << expression;
    EXPECT_TRUE(Expr::Compile(std::string(kx::kMaxSteps - 2, 'a') + '.')) << "as many steps as there may be";
    EXPECT_TRUE(Expr::Compile(std::string(kx::kMaxExpression, 'a'))) << "a literal needs none";
}

TEST(Expr, FindsMatchesAnywhere)
{
    const struct {
        std::string expression;
        std::vector<std::string> found;
        std::vector<std::string> notFound;
    } kRows[] = {
        {"xml", {"gp_xml", "gp_xml_merge"}, {"gp_xm", "XML"}},
        {"", {""}, {}},
        {".*", {""}, {}},
        {"gp_.+", {"gp_x"}, {"gp_"}},
        {"kx_|gp_", {"my_gp_xml"}, {}},
        {"[a-z]+_log", {"rsop_log"}, {"_log"}},
        {"a|", {"b"}, {}}, // an empty branch matches the empty text
        {"x(|a)y", {"xy"}, {}},
        {"x()*y", {"xy"}, {}},
        // Anchors are none.
        {"^a", {"b^a"}, {"a"}},
        {"a$|b", {"a$"}, {"a"}},
        {"[a^]", {"^"}, {}},
        // Classes.
        {"[^a-c]", {"abcd"}, {"abc"}},
        {"x[-a]y", {"x-y"}, {}},
        {"x[a-]y", {"x-y"}, {}},
        {"x[\\]]y", {"x]y"}, {}},
        {"x[\\^a]y", {"x^y"}, {}},
        {"x[\\a-\\c]y", {"xby"}, {}}, // no shorthands in a class
        {"x[.*(]y", {"x(y"}, {"xay"}},
        {"[\x80-\xff]", {"\xc3\xa4"}, {}},
        {".", {std::string(1, '\0')}, {}},
        {"a.b", {"a\nb"}, {}},
        // Escapes and shorthands.
        {"\\.", {}, {"a"}},
        {"\\(\\*\\\\", {"(*\\"}, {}},
        {"\\s\\e", {"se"}, {}},
        {"^\\a^", {"^Z^"}, {"^_^"}},
        {"x\\by", {"x\ty"}, {}},
        {"\\c\\d", {"a1"}, {"11"}},
        {"x\\hy", {"xFy"}, {"xgy"}},
        {"x\\ny", {"x\ry", "x\r\ny", "x\ny"}, {"x\n\ry"}},
        {"x\\qy", {"x\"a'b\"y", "x'a\"b'y"}, {"x'a\"y"}},
        {"x\\wy", {"xabcy"}, {}},
        {"x\\zy", {"x12y"}, {"x12ay"}},
        {"x\\d?y", {"xy"}, {}},        // a repetition takes the shorthand as a whole
        {"x!\\d.y", {"xay"}, {"x1y"}}, // so does a negation
        {"\\q|z", {"'z"}, {}},         // and its alternatives stay inside
        {"x\\qz", {}, {"'a'z"}},
        // Negation.
        {"a!b", {"a", "abac"}, {"ab"}},
        {"a!b*c", {}, {"abbc"}}, // b* always matches, so its negation never does
        {"a!(b*c)", {"abb"}, {"abbc"}},
        {"a!!b", {}, {"ac"}},
        {"a!!b.", {"ab"}, {}},
        {"!(a!b)a", {"ab"}, {"ac"}},
        {"!()", {}, {"a"}},
        {"x(!y.)*z", {"xabz"}, {"xayz"}},
        // Back-references.
        {"{a|b}\\1", {"abb"}, {"ab"}},
        {"<{.*?}>.*?</\\1>", {"<b><i>x</b>"}, {"<b><i>x</u>"}},
        {"{.}{.}\\2\\1", {"xabbay"}, {"xababy"}},
        {"({a})(b)\\1", {"aba"}, {}},   // parentheses do not count
        {"\\0a", {}, {"aa"}},           // group 0 is open to the end
        {"{a\\1}", {}, {"aa"}},         // so is a group inside itself,
        {"({b|a\\1})*c", {"babc"}, {}}, // in every iteration
        {"^({b|a\\1}x)+y", {}, {"^bxabxy"}},
        {"\\1{a}", {}, {"aa"}}, // not matched yet
        {"(\\1b|{a})+c", {"aabc"}, {"abc"}},
        {"({a}|b)\\1c", {}, {"bc"}},    // not taken part
        {"({a}|b)+\\1c", {"abac"}, {}}, // keeps the text of an earlier iteration
        {"(!{a}b)\\1", {}, {"bb"}},     // nothing leaves a negation
        {"!({.}\\1)..", {"aab"}, {}},
        {"^!({.}\\1)..", {}, {"^aab"}},
        {"(a|{})*\\1b", {"aab"}, {}},
        {"{a*}*\\1b", {"b"}, {}},
        {"[\\1]", {"1"}, {}},
        // The wrapping is part of the text, so this is two groups in a row.
        {"a}{b", {"xaby"}, {}},
        {"a}{b\\0", {"aba"}, {}},
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
    EXPECT_EQ(Expr::Compile(".*")->Text(), ".*");
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

    // Every expression of up to `mostAtoms` atoms and `mostOperators` of the operators, where x is the
    // operand, if it contains `needed`.
    void CheckTrees(const std::vector<std::string>& atoms, const std::vector<std::string>& operators,
                    std::size_t mostAtoms, std::size_t mostOperators, std::string_view needed)
    {
        std::vector<std::vector<std::vector<std::string>>> made(
            mostAtoms + 1, std::vector<std::vector<std::string>>(mostOperators + 1));
        for (std::size_t n = 1; n <= mostAtoms; ++n)
            for (std::size_t u = 0; u <= mostOperators; ++u) {
                std::vector<std::string>& here = made[n][u];
                if (n == 1 && u == 0)
                    here = atoms;
                for (const std::string& pattern : operators)
                    for (std::size_t i = 0; u > 0 && i < made[n][u - 1].size(); ++i)
                        here.push_back(Replaced(pattern, made[n][u - 1][i]));
                for (std::size_t m = 1; m < n; ++m)
                    for (std::size_t v = 0; v <= u; ++v)
                        for (const std::string& left : made[m][v])
                            for (const std::string& right : made[n - m][u - v]) {
                                here.push_back(left + right);
                                here.push_back('(' + left + '|' + right + ')');
                            }
                for (std::size_t i = 0; i < here.size() && !testing::Test::HasFatalFailure(); ++i)
                    if (here[i].find(needed) != std::string::npos)
                        Check(here[i]);
            }
    }

    [[nodiscard]] std::size_t Checked() const { return _m_checked; }

  private:
    static std::string Replaced(std::string pattern, const std::string& operand)
    {
        const bool bare = operand.size() == 1 || pattern.find('{') != std::string::npos;
        return pattern.replace(pattern.find('x'), 1, bare ? operand : '(' + operand + ')');
    }

    std::vector<std::string> _m_subjects;
    std::size_t _m_checked = 0;
};

TEST(ExprExhaustive, RowsOfTokens)
{
    Exhaustive all("ab", 3);
    all.CheckTokens({"a", "b", ".", "[^a]", "(", ")", "{", "}", "|", "!", "*", "+?", "\\1"}, 4);
    EXPECT_GT(all.Checked(), 3'000U);
}

TEST(ExprExhaustive, Trees)
{
    const struct {
        const char* why;
        std::string_view alphabet;
        std::size_t longest;
        std::vector<std::string> atoms;
        std::vector<std::string> operators;
        std::size_t mostAtoms;
        std::size_t mostOperators;
        std::string_view needed;
        std::size_t atLeast;
    } kRows[] = {
        {"four atoms", "ab", 3, {"a", "b"}, {"x*", "!x"}, 4, 1, "", 10'000},
        {"operators on each other", "abc", 2, {"a", ".", "[^b]"}, {"x?", "x+?", "!x"}, 2, 3, "", 6'000},
        {"back-references", "ab", 4, {"a", "b", "\\1"}, {"{x}", "x*", "!x"}, 3, 2, "\\1", 12'000},
        {"four atoms with them", "ab", 5, {"a", "\\1"}, {"{x}"}, 4, 1, "\\1", 1'000},
    };

    for (const auto& row : kRows) {
        SCOPED_TRACE(row.why);
        Exhaustive all(row.alphabet, row.longest);
        all.CheckTrees(row.atoms, row.operators, row.mostAtoms, row.mostOperators, row.needed);
        EXPECT_GT(all.Checked(), row.atLeast);
    }
}

} // namespace
