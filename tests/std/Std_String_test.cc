#include "std/Std_String.h"

#include "tests/Test.h"

static std::string plain(const Std_String& s) {
    EXPECT_TRUE(s.OK());
    return std::string(s.chars(), static_cast<std::size_t>(s.length()));
}
static std::string plain(const Std_Sub_String& s) {
    return std::string(s.chars(), static_cast<std::size_t>(s.length()));
}

TEST(Std_String, capacities) {
    const std::tuple<int, int> rows[] = {{0, 6},   {6, 6},     {7, 22},    {22, 22},
                                         {23, 54}, {118, 118}, {119, 246}, {32758, 32758}};
    for (const auto& [length, capacity] : rows) {
        const std::string text(static_cast<std::size_t>(length), 'x');
        EXPECT_EQ(Std_String(text.c_str()).allocation(), capacity) << length;
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
    EXPECT_EQ(shown(s.allocation(), s), "54 twenty-two characters. ");
    // An empty text from the string's own buffer, also at its very end, makes a new buffer.
    Std_String roomy[3] = {"abc", "abc", "abc"};
    auto& [a, b, c] = roomy;
    for (Std_String& x : roomy) x.alloc(100);
    a += a.from(3);
    b.prepend(b.from(3));
    c.at(0, 1) = c.from(3);
    EXPECT_EQ(shown(a.allocation(), b.allocation(), c.allocation()), "6 6 6 ");
}

TEST(Std_String_death, longest_text) {
    const std::string text(32758, 'x');
    Std_String s = text.c_str();
    EXPECT_FATAL(s += "x", "FATAL  : Std_String: Requested length out of range");
    EXPECT_FATAL(replicate('x', INT_MAX), "out of range");
    EXPECT_FATAL(Std_Sub_String(Std_String("ab"), 1, 3).OK(), "Std_Sub_String invariant failure");
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

// Each in its place behind a bar; the nil view is no text.
template<class... Views>
static std::string views(const Views&... all) {
    std::string text;
    const auto add = [&](const Std_Sub_String& view) {
        (text += '|') += view.chars() == _nil_Std_String.chars() ? "nil" : plain(view);
    };
    (add(all), ...);
    return text;
}

TEST(Std_String, views) {
    Std_String x = "abcabc";
    EXPECT_EQ(views(x.at(1, 2), x(4, 2), x.before(0), x.through(-1), x.through(1)), "|bc|bc|||ab");
    EXPECT_EQ(views(x.after(5), x.from(6), x.before("c", 3), x.through('b')), "|||abcab|ab");
    EXPECT_EQ(views(x.after("bc"), x.after("bc", -1), x.from('c')), "|abc||cabc");
    EXPECT_EQ(views(x.at("ab", -1), x.at('c', -1), x.before('b', -1)), "|ab|c|abca");
    EXPECT_EQ(views(x.before("d"), x.at(""), x.at(5, 2), x.at(-1, 2)), "|nil|nil|nil|nil");
    EXPECT_EQ(views(x.from(7), x.after(6), x.at(INT_MAX, INT_MAX)), "|nil|nil|nil");
    EXPECT_EQ(views(x.through(INT_MAX), x.through(6), x.before(7)), "|nil|nil|nil");
    const std::size_t one = 1; // positions are numbers of any type
    EXPECT_EQ(views(x.from(one), x.after(3u), x.before(one), x.through(1L), x.at(one, 1)),
              "|bcabc|bc|a|ab|b");
    Std_Sub_String nil = x.before("d");
    nil = "changes nothing";
    EXPECT_TRUE(_nil_Std_String.empty());
    Std_Sub_String view = x.at(1, 2);
    view = "longer text";
    EXPECT_EQ(shown(x, view.length()), "alonger textabc 2 ");
    x = "";
    view = "the range is gone";
    EXPECT_EQ(plain(x) + plain(Std_String(view)), "");
    Std_String fresh;
    fresh.at(0, 0) = "filled";
    EXPECT_EQ(shown(fresh, x = 'c'), "filled c ");
    x.at(0, 1) = fresh;
    x.at(0, 1) = 'F';
    EXPECT_EQ(x, "Filled");
    EXPECT_TRUE(fresh.at(1, 3).contains("ill") && !fresh.at(1, 3).contains('f'));
}

TEST(Std_String, matching) {
    const Std_String x = "abab";
    EXPECT_EQ(shown(x.freq("ab"), Std_String("aaa").freq('a'), Std_String("aaa").freq("aa")),
              "2 3 2 ");
    EXPECT_TRUE(x.contains("ba") && x.contains("ba", 1) && !x.contains("ba", 0));
    EXPECT_TRUE(x.contains("ab", -1) && x.contains("ba", -2) && !x.contains("ababa", -1));
    EXPECT_TRUE(x.matches("ab", 2) && !x.matches("ab", 0) && x.matches("abab", -1));
    EXPECT_TRUE(!x.matches("ab", -1) && x.matches("ab", -3) && !x.contains("", 0));
    EXPECT_FALSE(x.contains("a", 4) || x.contains("a", INT_MAX) || x.contains("a", INT_MIN));
    EXPECT_EQ(x.index("a", INT_MIN), -1);
}

TEST(Std_String, order) {
    const char *const none = nullptr, text[] = "abcd";
    const Std_String x = text, zero("a\0b", 3);
    EXPECT_LT(compare(Std_String("\xFF"), "\x01"), 0);
    EXPECT_EQ(shown(compare(Std_String(), none), compare(Std_String("a"), none)), "0 1 ");
    EXPECT_EQ(shown(compare(x.at(0, 2), "abc"), compare(x.at(0, 2), "ab")), "-1 0 ");
    EXPECT_EQ(shown(compare(x.at(0, 2), Std_String("ac")), compare(x.at(0, 2), none)), "-1 2 ");
    EXPECT_EQ(shown(compare(x, x.at(0, 1)), compare(zero, "a"), compare(zero.at(0, 3), "a")),
              "3 0 2 ");
    EXPECT_EQ(shown(fcompare("HeLLo", Std_String("hEllO")), fcompare("a", "abc")), "0 -2 ");
    EXPECT_TRUE(Std_String("ab") < "abc" && Std_String("b") > Std_String("abc"));
    EXPECT_TRUE(x.before(2) < x && x.at(1, 1) != "a" && x.at(1, 1) == x.at('b'));
    // Not by address, and classes derived from these no more than they.
    struct Name : Std_String {
        using Std_String::Std_String;
    };
    const Name name("abcd"), same("abcd");
    EXPECT_TRUE(name == text && text == name && name == same && name == x && !(name != text));
    EXPECT_TRUE("abcd" == x && text == x.at(0, 4) && text != x.at(0, 3) && x.at(0, 4) == x);
    EXPECT_TRUE(Std_String() == NULL && !(x == NULL) && x > NULL);
    EXPECT_TRUE(name < "b" && "b" > name && "b" >= x && "a" <= x.at(0, 1) && "a" < x);
}

TEST(Std_String, words_and_lists) {
    EXPECT_EQ(capitalize("the dOG's 3RD bone-meal x"), "The Dog's 3rd Bone-Meal X");
    EXPECT_EQ(shown(upcase("a\xE4z1"), downcase(Std_String("ABC")) + reverse("abc") + 'd'),
              "A\xE4Z1 abccbad ");
    Std_String parts[5];
    EXPECT_EQ(shown(split("a:b:", parts, 5, ":"), split("abc", parts, 5, "")), "2 1 ");
    EXPECT_EQ(split("a:b:c", parts, 2, ":"), 2);
    EXPECT_EQ(split("a::b", parts, 5, ":"), 3);
    EXPECT_EQ(join(parts, 3, "--"), "a----b");
    EXPECT_EQ("<" + replicate("ab", 3) + replicate('c', -1) + ">", "<ababab>");
    EXPECT_EQ(shown(common_prefix("xabc", "yabd", 1), common_suffix("abc.h", "bbc.c", -2),
                    common_suffix("abc", "c"), common_prefix("a", "b", 9)),
              "ab bc. c  ");
}

TEST(Std_String, streams) {
    std::istringstream in("  one two\n  line\nlast"), blank("   "), word(std::string(5000, 'w'));
    Std_String s = "old";
    in >> s;
    EXPECT_EQ(shown(s, s.allocation(), in.peek()), "one 22 116 ") << "the blank is consumed";
    EXPECT_EQ(readline(in, s, '\n', 0), 4);
    EXPECT_EQ(s, "two\n");
    EXPECT_EQ(readline(in, s), 4);
    EXPECT_EQ(s, "line");
    EXPECT_EQ(readline(in, s), 4);
    EXPECT_TRUE(in.eof() && !in.fail());
    EXPECT_EQ(readline(in, s), 0);
    EXPECT_EQ(s, "last");
    blank >> s;
    EXPECT_TRUE(blank.fail() && blank.eof());
    word >> s;
    EXPECT_EQ(shown(s.length(), s.before(2), Std_String("!")), "5000 ww ! ");
}
