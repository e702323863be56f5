#include "std/Std_Sub_String.h"

#include <algorithm>
#include <string_view>

#include "std/Std_Assert.h"
#include "std/Std_Str_Buffer.h"

using namespace str_buffer;

Std_Text::Std_Text(const Std_Sub_String& view) : text_(""), length_(0) {
    // The string may have become shorter since.
    const int rest = view.string_->length() - view.pos_;
    if (rest < 0) return; // an empty view at the end still lies in its string
    text_ = view.chars();
    length_ = std::min<int>(view.length_, rest);
}

Std_Sub_String::Std_Sub_String(const Std_String& string, int pos, int len)
    : string_(const_cast<Std_String*>(&string)), pos_(static_cast<unsigned short>(pos)),
      length_(static_cast<unsigned short>(len)) {}

Std_Sub_String& Std_Sub_String::operator=(const Std_String& y) {
    return splice(y);
}
// Also for the same view: it then replaces the range with itself.
Std_Sub_String& Std_Sub_String::operator=(const Std_Sub_String& y) {
    return splice(y);
}
Std_Sub_String& Std_Sub_String::operator=(const char* y) {
    return splice(y);
}
Std_Sub_String& Std_Sub_String::operator=(char y) {
    return splice(y);
}

Std_Sub_String& Std_Sub_String::splice(const Std_Text& y) {
    if (string_ == &_nil_Std_String || !is_inside()) return *this;
    Std_Str_Rep*& rep = string_->rep_;
    const int end = pos_ + length_, tail = rep->length - end;
    const long long total = static_cast<long long>(pos_) + y.length() + tail;
    const bool stays = !is_nil(rep) && !lies_in(rep, y.chars()) && total < rep->capacity;
    Std_Str_Rep* result = stays ? rep : new_rep(total);
    char* const to = result->text();
    if (!stays) copy(to, rep->text(), pos_);
    copy(to + pos_ + y.length(), rep->text() + end, tail);
    copy(to + pos_, y.chars(), y.length());
    if (!stays) release(rep);
    rep = result;
    set_length(rep, static_cast<int>(total));
    return *this;
}

const char* Std_Sub_String::chars() const {
    return string_->chars() + pos_;
}

bool Std_Sub_String::is_inside() const {
    return pos_ + length_ <= string_->length();
}

bool Std_Sub_String::contains(const Std_Text& x) const {
    const Std_Text text(*this);
    const std::string_view whole(text.chars(), static_cast<std::size_t>(text.length()));
    const std::string_view part(x.chars(), static_cast<std::size_t>(x.length()));
    return !part.empty() && whole.find(part) != whole.npos;
}

bool Std_Sub_String::OK() const {
    const bool ok = is_inside() && !string_->empty();
    if (!ok) std_assert(-1, "Std_Sub_String invariant failure", __FILE__, __LINE__);
    return ok;
}
