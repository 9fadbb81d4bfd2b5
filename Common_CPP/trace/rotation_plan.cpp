#include "Common_CPP/trace/rotation_plan.h"

#include "Common_CPP/util/ascii_case.h"

#include "Common_CPP/trace/text_builder.h"

#include <algorithm>

namespace kx {
namespace {

constexpr std::string_view kNumberToken = "<%NUM>";
constexpr std::string_view kProcessToken = "<%PID>";
constexpr std::string_view kChainBegin = "D_Lib: log file ";
constexpr std::string_view kChainMiddle = ", continued after:";
constexpr std::uint32_t kMaxNumber = 0x7FFFFFFF;

bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

// The same file name or folder, as far as ASCII goes.
bool IsSame(std::string_view a, std::string_view b) noexcept
{
    const auto plain = [](char c) { return c == '\\' ? '/' : LowerAscii(c); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return plain(x) == plain(y); });
}

bool HasDrive(std::string_view path) noexcept
{
    return path.size() >= 2 && path[1] == ':';
}

// Where the file name begins: behind the last separator, or behind a drive.
std::size_t NameStart(std::string_view path) noexcept
{
    const std::size_t slash = path.find_last_of("/\\");
    if (slash != std::string_view::npos)
        return slash + 1;
    return HasDrive(path) ? 2 : 0;
}

bool IsRelative(std::string_view path) noexcept
{
    return path.empty() || !(path[0] == '/' || path[0] == '\\' || HasDrive(path));
}

std::string WholePattern(std::string_view tracePath, std::string_view pattern)
{
    std::string whole(pattern.empty() ? tracePath : pattern);
    if (!pattern.empty() && IsRelative(pattern))
        whole.insert(0, tracePath.substr(0, NameStart(tracePath)));
    if (whole.find(kNumberToken, NameStart(whole)) == std::string::npos)
        whole.append(".").append(kNumberToken);
    return whole;
}

struct TokenPlace {
    std::size_t at;
    const TimeTokenName* time; // null: the number
};

// The next token from `start` on that is the first of its kind in the name.
std::optional<TokenPlace> NextToken(std::string_view name, std::size_t start) noexcept
{
    TokenPlace next{std::string_view::npos, nullptr};
    const auto consider = [&](std::string_view token, const TimeTokenName* time) {
        if (const std::size_t at = name.find(token); at >= start && at < next.at)
            next = {at, time};
    };
    consider(kNumberToken, nullptr);
    for (const TimeTokenName& time : kTimeTokens)
        consider(time.text, &time);
    if (next.at == std::string_view::npos)
        return std::nullopt;
    return next;
}

// Digits without a leading zero, in the range of numbers.
std::optional<std::uint32_t> ReadNumber(std::string_view digits) noexcept
{
    if (digits.empty() || digits.size() > 10 || digits.front() == '0' ||
        !std::all_of(digits.begin(), digits.end(), IsDigit))
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : digits)
        value = value * 10 + static_cast<std::uint64_t>(c - '0');
    if (value > kMaxNumber)
        return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

} // namespace

bool IsRotationDue(std::uint64_t bytes, const std::optional<Rotation>& rotation) noexcept
{
    return rotation && bytes > rotation->size;
}

RotatedNames::RotatedNames(std::string_view tracePath, std::string_view pattern, std::uint32_t processId,
                           const LocalTime& now)
{
    _Read(WholePattern(tracePath, pattern), processId, now);
    const std::size_t name = NameStart(tracePath);
    if (IsSame(tracePath.substr(0, name), _m_folder) && NumberOf(tracePath.substr(name)))
        _Read(WholePattern(tracePath, {}), processId, now);
}

void RotatedNames::_Read(std::string_view path, std::uint32_t processId, const LocalTime& now)
{
    const std::size_t name = NameStart(path);
    _m_folder = ExpandFileTokens(path.substr(0, name), processId, now);
    std::string ownName(path.substr(name));
    ReplaceFirst(ownName, kProcessToken, Decimal(processId));
    _ReadName(ownName, now);
}

void RotatedNames::_ReadName(std::string_view name, const LocalTime& now)
{
    _m_pieces.clear();
    _m_sizeBefore = _m_sizeBehind = 0;
    std::size_t* size = &_m_sizeBefore;
    const auto add = [&](Piece::Kind kind, std::string_view text) {
        *size += text.size();
        _m_pieces.push_back({kind, std::string(text)});
    };
    std::size_t done = 0;
    while (const auto token = NextToken(name, done)) {
        add(Piece::Kind::Literal, name.substr(done, token->at - done));
        if (token->time) {
            add(Piece::Kind::Time, TimeTokenValue(token->time->token, now).View());
            done = token->at + token->time->text.size();
        } else {
            add(Piece::Kind::Number, {});
            size = &_m_sizeBehind;
            done = token->at + kNumberToken.size();
        }
    }
    add(Piece::Kind::Literal, name.substr(done));
}

bool RotatedNames::_Fits(const Piece& piece, std::string_view text) noexcept
{
    if (piece.kind == Piece::Kind::Time)
        return std::all_of(text.begin(), text.end(), IsDigit);
    return std::equal(piece.text.begin(), piece.text.end(), text.begin(), text.end(),
                      [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

std::optional<std::uint32_t> RotatedNames::NumberOf(std::string_view name) const noexcept
{
    if (name.size() <= _m_sizeBefore + _m_sizeBehind)
        return std::nullopt;
    const std::string_view digits = name.substr(_m_sizeBefore, name.size() - _m_sizeBefore - _m_sizeBehind);
    std::size_t at = 0;
    for (const Piece& piece : _m_pieces) {
        const bool isNumber = piece.kind == Piece::Kind::Number;
        const std::string_view text = name.substr(at, isNumber ? digits.size() : piece.text.size());
        if (!isNumber && !_Fits(piece, text))
            return std::nullopt;
        at += text.size();
    }
    return ReadNumber(digits);
}

std::string RotatedNames::FirstPath() const
{
    std::string path = _m_folder;
    for (const Piece& piece : _m_pieces)
        path += piece.kind == Piece::Kind::Number ? std::string_view("1") : std::string_view(piece.text);
    return path;
}

std::string RotatedNames::Renumbered(std::string_view name, std::uint32_t number) const
{
    std::string path = _m_folder;
    path.append(name.substr(0, _m_sizeBefore));
    path.append(Decimal(number).View());
    path.append(name.substr(name.size() - _m_sizeBehind));
    return path;
}

namespace {

struct Older {
    std::uint32_t number;
    const ListedFile* file;
};

// The rotated files among those listed, highest number first.
std::vector<Older> OlderFiles(const RotatedNames& names, std::span<const ListedFile> listed)
{
    std::vector<Older> older;
    for (const ListedFile& file : listed)
        if (const auto number = names.NumberOf(file.name))
            older.push_back({*number, &file});
    std::sort(older.begin(), older.end(), [](const Older& a, const Older& b) { return a.number > b.number; });
    return older;
}

// The last number before the first gap, from 1 upwards; 0 when number 1 is free.
std::uint32_t LastBeforeGap(const std::vector<Older>& older) noexcept
{
    std::uint32_t last = 0;
    for (auto file = older.rbegin(); file != older.rend() && file->number <= last + 1; ++file)
        last = file->number;
    return last;
}

} // namespace

std::vector<Move> PlanRotation(const RotatedNames& names, std::string_view tracePath, std::uint32_t count,
                               std::span<const ListedFile> listed)
{
    if (count == 0)
        return {{std::string(tracePath), {}, true}};
    std::vector<Move> moves;
    const std::vector<Older> older = OlderFiles(names, listed);
    const std::uint32_t last = LastBeforeGap(older);
    for (const auto& [number, file] : older) {
        const bool movesUp = number <= last;
        if (movesUp && number < count)
            moves.push_back({names.Folder() + file->name, names.Renumbered(file->name, number + 1), false});
        else if (movesUp || (file->hasChainHeader && number > count))
            moves.push_back({names.Folder() + file->name, {}, true});
    }
    moves.push_back({std::string(tracePath), names.FirstPath(), false});
    return moves;
}

std::string ChainHeader(std::uint32_t number, std::string_view continuedAfter)
{
    std::string header(kChainBegin);
    header.append(Decimal(number).View()).append(kChainMiddle).append("\n");
    return header.append(continuedAfter).append("\n\n");
}

bool IsChainFile(std::string_view text) noexcept
{
    return text.starts_with(kChainBegin);
}

std::optional<std::uint32_t> ChainNumber(std::string_view text) noexcept
{
    if (!IsChainFile(text))
        return std::nullopt;
    text.remove_prefix(kChainBegin.size());
    const std::size_t end = text.find(kChainMiddle);
    if (end == std::string_view::npos)
        return std::nullopt;
    return ReadNumber(text.substr(0, end));
}

} // namespace kx
