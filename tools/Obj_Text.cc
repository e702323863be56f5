#include "tools/Obj_Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// Numbers may have a sign that std::from_chars does not take.
template<class Number>
void read_number(std::string_view word, Number* number) {
    if (word.starts_with('+')) word.remove_prefix(1);
    std::from_chars(word.data(), word.data() + word.size(), *number);
}

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// Line by line, where one that ends in a backslash goes on.
class Obj_Lines {
public:
    explicit Obj_Lines(const std::string& text) : text_(text) {}

    bool next() {
        begin_ = next_;
        if (begin_ >= text_.size()) return false;
        do {
            end_ = std::min(text_.find('\n', next_), text_.size());
            next_ = end_ + 1;
        } while (goes_on() && next_ < text_.size());
        while (begin_ < end_ && is_blank(text_[begin_])) ++begin_;
        at_ = begin_;
        keyword_ = next_word();
        return true;
    }
    std::size_t begin() const { return begin_; }
    std::size_t end() const { return end_; }
    std::string_view keyword() const { return keyword_; }
    bool is_item() const { return keyword_ == "f" || keyword_ == "l" || keyword_ == "p"; }
    // Behind the keyword, one after the other; empty at the end.
    std::string_view next_word() {
        const auto is_between = [&](char c) { return is_blank(c) || c == '\\' || c == '\n'; };
        while (at_ < end_ && is_between(text_[at_])) ++at_;
        const std::size_t start = at_;
        while (at_ < end_ && !is_between(text_[at_])) ++at_;
        return std::string_view(text_).substr(start, at_ - start);
    }

private:
    bool goes_on() const {
        std::size_t last = end_;
        while (last > begin_ && text_[last - 1] == '\r') --last;
        return last > begin_ && text_[last - 1] == '\\';
    }

    const std::string& text_;
    std::size_t begin_ = 0, end_ = 0, next_ = 0, at_ = 0;
    std::string_view keyword_;
};

// Of points, texture points and normals: the order in which a corner names them.
using Counts = std::array<long long, 3>;

void count_line(const Obj_Lines& lines, Counts* counts) {
    static const std::string_view keywords[] = {"v", "vt", "vn"};
    for (std::size_t i = 0; i < 3; ++i) (*counts)[i] += lines.keyword() == keywords[i];
}

Counts count_all(const std::string& text) {
    Counts counts = {};
    for (Obj_Lines lines(text); lines.next();) count_line(lines, &counts);
    return counts;
}

// From 1 on, as "7/3/7" names them; 0 for what is not named. Negative numbers count from the end of
// what has come so far. False if a number leads to nothing.
bool read_corner(std::string_view word, const Counts& so_far, const Counts& all, Counts* corner) {
    *corner = {};
    for (std::size_t i = 0; i < 3 && !word.empty(); ++i) {
        const std::string_view part = word.substr(0, word.find('/'));
        word.remove_prefix(std::min(part.size() + 1, word.size()));
        if (part.empty()) continue;
        long long number = 0;
        read_number(part, &number);
        if (number < 0) number += so_far[i] + 1;
        if (number < 1 || number > all[i]) return false;
        (*corner)[i] = number;
    }
    return (*corner)[0] > 0;
}

using Wide_Vector = std::array<double, 3>;

class Obj_Smoother {
public:
    Obj_Smoother(std::string* text, const Counts& all) : text_(*text), all_(all) {}

    void smooth() {
        if (!collect()) return;
        std::string mended;
        mended.reserve(text_.size() * 2);
        put_normals(mended);
        put_lines(mended);
        text_ = std::move(mended);
    }

private:
    // A point in a smoothing group.
    using Key = std::pair<long long, long long>;

    // The number of the group that a line begins; 0 for none.
    static long long group_of(Obj_Lines& lines) {
        const std::string_view word = lines.next_word();
        long long group = word == "on";
        read_number(word, &group);
        return group;
    }
    bool collect();
    void add_face(Obj_Lines& lines, const Counts& so_far, long long group);
    void put_normals(std::string& to) const;
    void put_lines(std::string& to) const;

    std::string& text_;
    const Counts all_;
    std::vector<Wide_Vector> points_;
    std::map<Key, std::size_t> numbers_; // of the normals, from 0 on
    std::vector<Wide_Vector> normals_;
};

// False if there is nothing to smooth.
bool Obj_Smoother::collect() {
    for (Obj_Lines lines(text_); lines.next();) {
        if (lines.keyword() != "v") continue;
        Wide_Vector point = {};
        for (double& part : point) {
            const std::string_view word = lines.next_word();
            read_number(word, &part);
        }
        points_.push_back(point);
    }
    long long group = 0;
    Counts so_far = {};
    for (Obj_Lines lines(text_); lines.next();) {
        count_line(lines, &so_far);
        if (lines.keyword() == "s") group = group_of(lines);
        if (lines.keyword() == "f" && group != 0) add_face(lines, so_far, group);
    }
    return !normals_.empty();
}

void Obj_Smoother::add_face(Obj_Lines& lines, const Counts& so_far, long long group) {
    std::vector<long long> corners;
    Counts corner;
    for (std::string_view word; !(word = lines.next_word()).empty();)
        if (read_corner(word, so_far, all_, &corner)) corners.push_back(corner[0]);
    // Twice the area, along the normal.
    Wide_Vector area = {};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Wide_Vector& a = points_[static_cast<std::size_t>(corners[i] - 1)];
        const Wide_Vector& b =
            points_[static_cast<std::size_t>(corners[(i + 1) % corners.size()] - 1)];
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t l = (k + 1) % 3, m = (k + 2) % 3;
            area[k] += (a[l] - b[l]) * (a[m] + b[m]);
        }
    }
    for (const long long number : corners) {
        const auto [at, is_new] = numbers_.try_emplace(Key(group, number), normals_.size());
        if (is_new) normals_.push_back({});
        for (std::size_t k = 0; k < 3; ++k) normals_[at->second][k] += area[k];
    }
}

void Obj_Smoother::put_normals(std::string& to) const {
    for (const Wide_Vector& normal : normals_) {
        const double length = std::hypot(normal[0], normal[1], normal[2]);
        const bool is_good = length > 0 && std::isfinite(length);
        to += "vn";
        for (const double part : normal) {
            char number[32];
            const auto value = static_cast<float>(is_good ? part / length : 0);
            const char* const end = std::to_chars(number, number + sizeof number, value).ptr;
            to += " ";
            to.append(static_cast<const char*>(number), end);
        }
        to += "\n";
    }
}

void Obj_Smoother::put_lines(std::string& to) const {
    long long group = 0;
    Counts so_far = {}, corner;
    for (Obj_Lines lines(text_); lines.next();) {
        count_line(lines, &so_far);
        if (lines.keyword() == "s") group = group_of(lines);
        if (lines.keyword() != "f" || group == 0) {
            to.append(text_, lines.begin(), lines.end() - lines.begin()).append("\n");
            continue;
        }
        to += "f";
        for (std::string_view word; !(word = lines.next_word()).empty();) {
            if (!read_corner(word, so_far, all_, &corner)) continue;
            to.append(" ").append(std::to_string(corner[0])).append("/");
            if (corner[1] > 0) to += std::to_string(corner[1]);
            to.append("/").append(std::to_string(numbers_.at(Key(group, corner[0])) + 1));
        }
        to += "\n";
    }
}

} // namespace

int obj_drop_bad_items(std::string* text) {
    const Counts all = count_all(*text);
    Counts so_far = {}, corner;
    int dropped = 0;
    for (Obj_Lines lines(*text); lines.next();) {
        count_line(lines, &so_far);
        if (!lines.is_item()) continue;
        bool is_good = true;
        for (std::string_view word; is_good && !(word = lines.next_word()).empty();)
            is_good = read_corner(word, so_far, all, &corner);
        if (is_good) continue;
        ++dropped;
        // Also where it goes on in further lines.
        for (std::size_t i = lines.begin(); i < lines.end(); ++i) (*text)[i] = '#';
    }
    return dropped;
}

void obj_smooth(std::string* text) {
    const Counts all = count_all(*text);
    if (all[0] > 0 && all[2] == 0) Obj_Smoother(text, all).smooth();
}
