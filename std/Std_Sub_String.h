// A view of a range of a string; see Std_String, whose header is to be included.
#ifndef STD_STD_SUB_STRING_H
#define STD_STD_SUB_STRING_H

#include "std/Std_Obj.h"

class Std_String;
class Std_Text;

class Std_Sub_String : public Std_Obj {
    STD_OBJ_CLASS(Std_Sub_String, Std_Obj)

    // Requires: pos and len lie in the text of `string`.
    Std_Sub_String(const Std_String& string, int pos, int len);
    Std_Sub_String(const Std_Sub_String& other) = default;
    virtual ~Std_Sub_String() = default;

    // Replace the range in the string that this refers to. The view itself keeps its position and
    // length. Nothing happens for the nil view, nor if the range lies in its string no more.
    Std_Sub_String& operator=(const Std_String& y);
    Std_Sub_String& operator=(const Std_Sub_String& y);
    Std_Sub_String& operator=(const char* y);
    Std_Sub_String& operator=(char y);

    int length() const { return length_; }
    bool empty() const { return length_ == 0; }
    // Not terminated at the view's end.
    const char* chars() const;

    // Whether x stands anywhere in the view.
    bool contains(const Std_Text& x) const;

    // Self-check: a fatal report for a view that is not inside its string, or of an empty string.
    bool OK() const;

private:
    friend class Std_Text;
    Std_Sub_String& splice(const Std_Text& y);
    bool is_inside() const;

    Std_String* string_;
    unsigned short pos_;
    unsigned short length_;
};

#endif
