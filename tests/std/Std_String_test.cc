#include "std/Std_String.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>

static std::string plain(const Std_String& s) {
    EXPECT_TRUE(s.OK());
    return std::string(s.chars(), static_cast<std::size_t>(s.length()));
}
static std::string plain(const Std_Sub_String& s) {
    return std::string(s.chars(), static_cast<std::size_t>(s.length()));
}

TEST(Std_String, capacities) {
    const struct {
        int length, capacity;
    } rows[] = {{0, 6},   {6, 6},     {7, 22},    {22, 22},
                {23, 54}, {118, 118}, {119, 246}, {32758, 32758}};
    for (const auto& r : rows) {
        const std::string text(static_cast<std::size_t>(r.length), 'x');
        EXPECT_EQ(Std_String(text.c_str()).allocation(), r.capacity) << r.length;
    }
    Std_String s;
    EXPECT_EQ(s.chars(), _nil_Std_Str_Rep.text());
    EXPECT_EQ(Std_String(static_cast<const char*>(nullptr)).allocation(), 6);
    s = "seven..";
    const char* const buffer = s.chars();
    s = "";
    s = Std_String();
    s += "twenty-two characters.";
    EXPECT_EQ(s.chars(), buffer);
    s.alloc(23);
    EXPECT_EQ(s.allocation(), 54);
    EXPECT_EQ(s, "twenty-two characters.");
    // An empty text from the string's own buffer, also at its very end, makes a new buffer.
    const auto roomy = [] {
        Std_String x = "abc";
        x.alloc(100);
        return x;
    };
    Std_String a = roomy(), b = roomy(), c = roomy();
    a += a.from(3);
    b.prepend(b.from(3));
    c.at(0, 1) = c.from(3);
    EXPECT_EQ(a.allocation() + b.allocation() + c.allocation(), 3 * 6);
}

TEST(Std_String_death, longest_text) {
    const std::string text(32758, 'x');
    Std_String s = text.c_str();
    EXPECT_EXIT(s += "x", ::testing::ExitedWithCode(1),
                "FATAL  : Std_String: Requested length out of range");
    EXPECT_EXIT(replicate('x', INT_MAX), ::testing::ExitedWithCode(1), "out of range");
    EXPECT_EXIT(Std_Sub_String(Std_String("ab"), 1, 3).OK(), ::testing::ExitedWithCode(1),
                "Std_Sub_String invariant failure");
}

// Replaces each `part`, and counts them.
static int plain_gsub(std::string& m, const std::string& part, const std::string& by) {
    int count = 0;
    std::string result;
    for (std::size_t i = 0; i < m.size();) {
        const bool is_there = !part.empty() && m.compare(i, part.size(), part) == 0;
        result += is_there ? by : m.substr(i, 1);
        i += is_there ? part.size() : 1;
        count += is_there;
    }
    m = result;
    return count;
}

// Each operation beside what std::string does, with operands that are often part of the string.
TEST(Std_String, random_operations_against_a_model) {
    std::mt19937 random(7);
    const auto below = [&](std::size_t n) { return random() % n; };
    Std_String s;
    std::string m, part, other;
    std::size_t at, size, from;
    int pos, len;
    const std::pair<std::function<void()>, std::function<void()>> rows[] = {
        {[&] { s = s.at(pos, len); }, [&] { m = part; }}, // shortens
        {[&] { s += s.at(pos, len); }, [&] { m += part; }},
        {[&] { s.prepend(s.at(pos, len)); }, [&] { m = part + m; }},
        {[&] { s += other.c_str(); }, [&] { m += other; }},
        {[&] { s.prepend('c'); }, [&] { m = 'c' + m; }},
        {[&] { s += s; }, [&] { m += m; }},
        {[&] { s.del(pos, len); }, [&] { m.erase(at, size); }},
        {[&] { s.at(pos, len) = other.c_str(); }, [&] { m.replace(at, size, other); }},
        {[&] { s.at(pos, len) = s.from(static_cast<int>(from)); },
         [&] { m.replace(at, size, m.substr(from)); }},
        {[&] { s.reverse(); }, [&] { std::reverse(m.begin(), m.end()); }},
        {[&] { cat(s, s.at(pos, len), 'b', s); }, [&] { m += part + 'b'; }},
        {[&] { s = s.chars() + pos; }, [&] { m = m.substr(at); }},
        {[&] {
             const Std_String pattern = part.c_str();
             EXPECT_EQ(s.gsub(pattern, other.c_str()), plain_gsub(m, part, other));
         },
         [] {}},
        {[&] { // searches from both ends
             const Std_String x = other.c_str();
             const auto first = other.empty() ? std::string::npos : m.find(other, at);
             const auto last = other.empty() || at + other.size() > m.size()
                                   ? std::string::npos
                                   : m.rfind(other, m.size() - at - other.size());
             EXPECT_EQ(s.index(x, pos), static_cast<int>(first));
             EXPECT_EQ(s.index(x, -1 - pos), static_cast<int>(last));
             s.del(other.c_str(), pos);
             if (first != std::string::npos) m.erase(first, other.size());
         },
         [] {}},
    };
    for (int step = 0; step < 30000; ++step) {
        at = below(m.size() + 1);
        size = below(std::min<std::size_t>(m.size() - at, 9) + 1);
        from = below(m.size() + 1);
        part = m.substr(at, size);
        other.assign(below(12), static_cast<char>('a' + below(3)));
        pos = static_cast<int>(at);
        len = static_cast<int>(size);
        const std::size_t row = m.size() > 2000 ? 0 : below(std::size(rows));
        rows[row].first();
        rows[row].second();
        ASSERT_EQ(plain(s), m) << "row " << row << " at step " << step;
    }
}

TEST(Std_String, views) {
    Std_String x = "abcabc";
    const struct {
        const char* row;
        Std_Sub_String does;
        const char* should; // null: the nil view
    } rows[] = {
        {"at", x.at(1, 2), "bc"},
        {"()", x(4, 2), "bc"},
        {"before 0", x.before(0), ""},
        {"through -1", x.through(-1), ""},
        {"through", x.through(1), "ab"},
        {"after last", x.after(5), ""},
        {"from end", x.from(6), ""},
        {"before text", x.before("c", 3), "abcab"},
        {"through char", x.through('b'), "ab"},
        {"after text", x.after("bc"), "abc"},
        {"after at the end", x.after("bc", -1), ""},
        {"from char", x.from('c'), "cabc"},
        {"at text backward", x.at("ab", -1), "ab"},
        {"missing", x.before("d"), nullptr},
        {"empty pattern", x.at(""), nullptr},
        {"too long", x.at(5, 2), nullptr},
        {"negative", x.at(-1, 2), nullptr},
        {"behind the end", x.from(7), nullptr},
        {"after the end", x.after(6), nullptr},
        {"huge", x.at(INT_MAX, INT_MAX), nullptr},
        {"through huge", x.through(INT_MAX), nullptr},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(plain(r.does), r.should ? r.should : "") << r.row;
        EXPECT_EQ(r.does.chars() == _nil_Std_String.chars(), !r.should) << r.row;
    }
    Std_Sub_String nil = x.before("d");
    nil = "changes nothing";
    EXPECT_TRUE(_nil_Std_String.empty());
    Std_Sub_String view = x.at(1, 2);
    view = "longer text";
    EXPECT_EQ(x, "alonger textabc");
    EXPECT_EQ(view.length(), 2);
    x = "";
    view = "the range is gone";
    EXPECT_EQ(plain(x) + plain(Std_String(view)), "");
    Std_String fresh;
    fresh.at(0, 0) = "filled";
    EXPECT_EQ(fresh, "filled");
    EXPECT_EQ(x = 'c', "c");
    x.at(0, 1) = fresh;
    x.at(0, 1) = 'F';
    EXPECT_EQ(x, "Filled");
    EXPECT_TRUE(fresh.at(1, 3).contains("ill") && !fresh.at(1, 3).contains('f'));
}

TEST(Std_String, positions_are_numbers_of_any_type) {
    const Std_String x = "abc";
    const std::size_t one = std::strlen("a");
    EXPECT_TRUE(x.from(one) == "bc" && x.after(1u) == "c" && x.before(one) == "a" &&
                x.through(1L) == "ab" && x.at(one, 1) == "b" && x.from('c') == "c");
}

TEST(Std_String, matching) {
    const Std_String x = "abab";
    EXPECT_EQ(x.freq("ab"), 2);
    EXPECT_EQ(Std_String("aaa").freq('a') + Std_String("aaa").freq("aa"), 5);
    EXPECT_TRUE(x.contains("ba") && x.contains("ba", 1) && !x.contains("ba", 0));
    EXPECT_TRUE(x.contains("ab", -1) && x.contains("ba", -2) && !x.contains("ababa", -1));
    EXPECT_TRUE(x.matches("ab", 2) && !x.matches("ab", 0) && x.matches("abab", -1));
    EXPECT_TRUE(!x.matches("ab", -1) && x.matches("ab", -3) && !x.contains("", 0));
    EXPECT_FALSE(x.contains("a", 4) || x.contains("a", INT_MAX) || x.contains("a", INT_MIN));
    EXPECT_EQ(x.index("a", INT_MIN), -1);
}

TEST(Std_String, order) {
    EXPECT_LT(compare(Std_String("\xFF"), "\x01"), 0);
    EXPECT_TRUE(Std_String("ab") < "abc" && Std_String("b") > Std_String("abc"));
    EXPECT_EQ(compare(Std_String(), static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(compare(Std_String("a"), static_cast<const char*>(nullptr)), 1);
    const Std_String x = "abcd";
    EXPECT_EQ(compare(x.at(0, 2), "abc"), -1);
    EXPECT_EQ(compare(x.at(0, 2), "ab"), 0);
    EXPECT_EQ(compare(x.at(0, 2), Std_String("ac")), -1);
    EXPECT_EQ(compare(x.at(0, 2), static_cast<const char*>(nullptr)), 2);
    EXPECT_EQ(compare(x, x.at(0, 1)), 3);
    EXPECT_TRUE(x.before(2) < x && x.at(1, 1) != "a" && x.at(1, 1) == x.at('b'));
    // Not by address, and classes derived from these no more than they.
    struct Name : Std_String {
        using Std_String::Std_String;
    };
    const Name name("abcd"), same("abcd");
    const char text[] = "abcd";
    EXPECT_TRUE(name == text && text == name && name == same && name == x && !(name != text));
    EXPECT_TRUE("abcd" == x && text == x.at(0, 4) && text != x.at(0, 3) && x.at(0, 4) == x);
    EXPECT_TRUE(Std_String() == NULL && !(x == NULL) && x > NULL);
    EXPECT_TRUE(name < "b" && "b" > name && "b" >= x && "a" <= x.at(0, 1) && "a" < x);
    EXPECT_EQ(compare(Std_String("a\0b", 3), "a"), 0);
    EXPECT_GT(compare(Std_String("a\0b", 3).at(0, 3), "a"), 0);
    EXPECT_EQ(fcompare("HeLLo", Std_String("hEllO")), 0);
    EXPECT_EQ(fcompare("a", "abc"), -2);
}

TEST(Std_String, words_and_lists) {
    EXPECT_EQ(capitalize("the dOG's 3RD bone-meal x"), "The Dog's 3rd Bone-Meal X");
    EXPECT_EQ(upcase("a\xE4z1"), "A\xE4Z1");
    EXPECT_EQ(downcase(Std_String("ABC")) + reverse("abc") + 'd', "abccbad");
    Std_String parts[5];
    EXPECT_EQ(split("a:b:", parts, 5, ":"), 2);
    EXPECT_EQ(split("a::b", parts, 5, ":"), 3);
    EXPECT_EQ(join(parts, 3, "--"), "a----b");
    EXPECT_EQ(split("a:b:c", parts, 2, ":"), 2);
    EXPECT_EQ(split("abc", parts, 5, ""), 1);
    EXPECT_EQ("<" + replicate("ab", 3) + replicate('c', -1) + ">", "<ababab>");
    EXPECT_EQ(common_prefix("xabc", "yabd", 1), "ab");
    EXPECT_EQ(common_suffix("abc.h", "bbc.c", -2), "bc.");
    EXPECT_EQ(common_suffix("abc", "c"), "c");
    EXPECT_EQ(common_prefix("a", "b", 9), "");
}

TEST(Std_String, streams) {
    std::istringstream in("  one two\n  line\nlast");
    Std_String s = "old";
    in >> s;
    EXPECT_EQ(s, "one");
    EXPECT_EQ(s.allocation(), 22);
    EXPECT_EQ(in.get(), 't') << "the white space is consumed";
    EXPECT_EQ(readline(in, s, '\n', 0), 3);
    EXPECT_EQ(s, "wo\n");
    EXPECT_EQ(readline(in, s), 4);
    EXPECT_EQ(s, "line");
    EXPECT_EQ(readline(in, s), 4);
    EXPECT_TRUE(in.eof() && !in.fail());
    EXPECT_EQ(readline(in, s), 0);
    EXPECT_EQ(s, "last");
    std::istringstream blank("   ");
    blank >> s;
    EXPECT_TRUE(blank.fail() && blank.eof());
    std::istringstream long_word(std::string(5000, 'w'));
    long_word >> s;
    EXPECT_EQ(s.length(), 5000);
    std::ostringstream out;
    out << s.before(2) << Std_String("!");
    EXPECT_EQ(out.str(), "ww!");
}
