// The names of rotated files, built and recognised, and the moves of a rotation carried out on a pretended
// folder.
#include "Common_CPP/trace/rotation_plan.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

const kx::LocalTime kNow{2024, 3, 9, 4, 5, 6, 7};
constexpr std::uint32_t kProcess = 4242;
constexpr const char* kTrace = "C:\\Trace\\kx.trace";

kx::RotatedNames Names(std::string_view pattern, std::string_view trace = kTrace)
{
    return {trace, pattern, kProcess, kNow};
}

TEST(RotatedNames, BuildsThePathOfNumberOne)
{
    struct Row {
        const char* why;
        const char* trace;
        const char* pattern;
        const char* expected;
    };

    const Row rows[] = {
        {"no pattern", kTrace, "", "C:\\Trace\\kx.trace.1"},
        {"beside the trace file", kTrace, "old<%NUM>.log", "C:\\Trace\\old1.log"},
        {"number appended", kTrace, "old.log", "C:\\Trace\\old.log.1"},
        {"a number in the folder does not help", kTrace, "D:\\<%NUM>\\old", "D:\\<%NUM>\\old.1"},
        {"absolute", kTrace, "\\\\server\\s\\o", "\\\\server\\s\\o.1"},
        {"relative with a folder", kTrace, "sub/o", "C:\\Trace\\sub/o.1"},
        {"drive only", kTrace, "D:o", "D:o.1"},
        {"no folder anywhere", "kx.trace", "o<%NUM>", "o1"},
        {"time and process", kTrace, "<%PID>_<%YEAR>-<%MONTH>-<%DAY>_<%HOUR><%MIN><%SEC>.<%MSEC>",
         "C:\\Trace\\4242_2024-03-09_040506.007.1"},
        {"time in the folder too", kTrace, "D:\\<%YEAR>\\<%YEAR>_<%NUM>", "D:\\2024\\2024_1"},
        {"the first token of a name counts", kTrace, "<%NUM><%NUM>", "C:\\Trace\\1<%NUM>"},
        {"not the trace file's own name", kTrace, "kx<%NUM>", "C:\\Trace\\kx1"},
        {"the trace file's own name", "D:\\log2", "log<%NUM>", "D:\\log2.1"},
        {"the same, written otherwise", "D:\\LOG2", "d:/log<%NUM>", "D:\\LOG2.1"},
        {"the same name in another folder", "D:\\log2", "E:\\log<%NUM>", "E:\\log1"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Names(row.pattern, row.trace).FirstPath(), row.expected) << row.why;
}

// Files by path, each with what it holds; moves like the system does, which refuses to overwrite.
class Folder {
  public:
    /// Names with blanks between them; one with "+" behind it begins with the chain header.
    Folder(const kx::RotatedNames& names, const std::string& files)
    {
        std::istringstream all(files);
        for (std::string name; all >> name;) {
            const bool hasHeader = name.back() == '+';
            name.resize(name.size() - (hasHeader ? 1 : 0));
            _m_listed.push_back({name, hasHeader});
            _m_files[names.Folder() + name] = name;
        }
    }

    [[nodiscard]] const std::vector<kx::ListedFile>& Listed() const { return _m_listed; }

    void CarryOut(const std::vector<kx::Move>& moves)
    {
        for (const kx::Move& move : moves) {
            auto file = _m_files.extract(move.from);
            ASSERT_FALSE(file.empty()) << move.from;
            if (move.remove)
                continue;
            file.key() = move.to;
            ASSERT_TRUE(_m_files.insert(std::move(file)).inserted) << "overwritten: " << move.to;
        }
    }

    // "path<content", one after the other.
    [[nodiscard]] std::string Text() const
    {
        std::string text;
        for (const auto& [path, content] : _m_files)
            text += path.substr(path.find_last_of('\\') + 1) + "<" + content + " ";
        return text;
    }

  private:
    std::vector<kx::ListedFile> _m_listed;
    std::map<std::string, std::string> _m_files;
};

TEST(RotationPlan, MovesUpWithoutOverwriting)
{
    struct Row {
        const char* why;
        const char* pattern;
        std::uint32_t count;
        const char* files;
        const char* after;
    };

    const Row rows[] = {
        {"the first rotation", "", 3, "kx.trace", "kx.trace.1<kx.trace "},
        {"only limited", "", 0, "kx.trace kx.trace.1+", "kx.trace.1<kx.trace.1 "},
        {"all move up", "<%NUM>", 3, "kx.trace 1 2", "1<kx.trace 2<1 3<2 "},
        {"the oldest goes", "<%NUM>", 2, "2 1+ kx.trace", "1<kx.trace 2<1 "},
        {"numbers, not their texts, are in order", "o<%NUM>", 20, "kx.trace o1 o10 o2 o3 o4 o5 o6 o7 o8 o9",
         "o1<kx.trace o10<o9 o11<o10 o2<o1 o3<o2 o4<o3 o5<o4 o6<o5 o7<o6 o8<o7 o9<o8 "},
        {"fewer are kept than before", "<%NUM>", 1, "kx.trace 1 2 3", "1<kx.trace "},
        {"a gap takes up the move", "<%NUM>", 9, "kx.trace 1 3+ 4", "1<kx.trace 2<1 3<3 4<4 "},
        {"behind a gap, only the chain's own files go", "<%NUM>", 2, "kx.trace 1 4 5+",
         "1<kx.trace 2<1 4<4 "},
        {"a free number 1 is enough", "<%NUM>", 5, "kx.trace 2+", "1<kx.trace 2<2 "},
        {"strangers stay", "", 1,
         "kx.trace kx.trace.1 kx.trace.bak kx.trace.01+ kx.trace.0 kx.trace.2147483648+ akx.trace.2+",
         "akx.trace.2<akx.trace.2 kx.trace.0<kx.trace.0 kx.trace.01<kx.trace.01 kx.trace.1<kx.trace "
         "kx.trace.2147483648<kx.trace.2147483648 kx.trace.bak<kx.trace.bak "},
        {"the highest number goes", "", 1, "kx.trace kx.trace.2147483647+", "kx.trace.1<kx.trace "},
        {"in any case", "", 1, "kx.trace KX.Trace.1", "kx.trace.1<kx.trace "},
        {"another ending", "o<%NUM>.log", 1, "kx.trace o1.log o2.txt+ o.log+",
         "o.log<o.log o1.log<kx.trace o2.txt<o2.txt "},
        {"digits of another number", "<%NUM>_<%MSEC>", 1, "kx.trace 1_123 2_12+ 3_x23+",
         "1_007<kx.trace 2_12<2_12 3_x23<3_x23 "},
        {"files of another process", "<%PID><%NUM>", 1, "kx.trace 42421 42431 42312+",
         "42312<42312 42421<kx.trace 42431<42431 "},
        {"each file keeps its time", "<%YEAR>.<%NUM>", 3, "kx.trace 2023.1 2022.2 2021.3",
         "2022.3<2022.2 2023.2<2023.1 2024.1<kx.trace "},
        {"two files of one number", "<%YEAR>.<%NUM>", 3, "kx.trace 2024.1 2023.1 2022.2",
         "2022.3<2022.2 2023.2<2023.1 2024.1<kx.trace 2024.2<2024.1 "},
    };
    for (const Row& row : rows) {
        const auto names = Names(row.pattern);
        Folder folder(names, row.files);
        folder.CarryOut(kx::PlanRotation(names, kTrace, row.count, folder.Listed()));
        EXPECT_EQ(folder.Text(), row.after) << row.why;
    }
}

TEST(RotationPlan, IsDueAboveTheLimit)
{
    EXPECT_FALSE(kx::IsRotationDue(~std::uint64_t{0}, std::nullopt));
    EXPECT_FALSE(kx::IsRotationDue(100, kx::Rotation{0, 100, ""}));
    EXPECT_TRUE(kx::IsRotationDue(101, kx::Rotation{0, 100, ""}));
    EXPECT_FALSE(kx::IsRotationDue(0, kx::Rotation{3, 0, ""})) << "an empty file is never rotated";
}

TEST(ChainHeader, IsRecognisedAgain)
{
    const std::string header = kx::ChainHeader(7, "C:\\Trace\\kx.trace.1");
    EXPECT_EQ(header, "D_Lib: log file 7, continued after:\nC:\\Trace\\kx.trace.1\n\n");
    EXPECT_EQ(kx::ChainNumber(header), 7U);
    EXPECT_EQ(kx::ChainNumber(kx::ChainHeader(2147483647, "").substr(0, kx::kChainHeaderProbe)), 2147483647U);

    struct Row {
        const char* text;
        bool isChain;
        std::uint32_t number; // 0: none
    };

    const Row rows[] = {
        {"D_Lib: log file 12, continued after:", true, 12},
        {"D_Lib: log file ", true, 0},
        {"D_Lib: log file x, continued after:", true, 0},
        {"D_Lib: log file 3, continued", true, 0},
        {"D_Lib: log file size is limited", true, 0}, // a confirmation at the start of a file begins alike
        {"d_lib: log file 3, continued after:", false, 0},
        {" D_Lib: log file 3, continued after:", false, 0},
        {"D_Lib: log", false, 0},
        {"", false, 0},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(kx::IsChainFile(row.text), row.isChain) << row.text;
        EXPECT_EQ(kx::ChainNumber(row.text).value_or(0), row.number) << row.text;
    }
}

} // namespace
