# Turns the headers' plain comments into what doxygen takes for documentation: it is an input filter
# and writes the changed header to the standard output.
#
# The comment at the head of a file describes the class of the file's name, or else the file. Comments
# in front of a declaration describe it, and all of the same name that follow without a blank line;
# those behind it describe it too. Lines indented by four blanks or more are code. What doxygen would take
# for commands and tags is masked.

# Prose. What stands in `code` or in "quotes" is taken as it is, if it ends in the same line.
function masked(text,    shown, mark, end) {
  while (match(text, /["`]/)) {
    mark = substr(text, RSTART, 1)
    shown = shown masked_piece(substr(text, 1, RSTART - 1)) mark
    text = substr(text, RSTART + 1)
    if (end = index(text, mark)) {
      shown = shown substr(text, 1, end)
      text = substr(text, end + 1)
    }
  }
  return shown masked_piece(text)
}

function masked_piece(text) {
  gsub(/[\\@<>#%&]/, "\\\\&", text)
  return text
}

# Collects a line of a comment, without its slashes.
function take(text) {
  if (text ~ /^     /) {
    if (!in_code) comment = comment "@code{.cpp}\n"
    in_code = 1
    comment = comment substr(text, 6) "\n"
    return
  }
  if (in_code && text ~ /^ *$/) { comment = comment "\n"; return } # perhaps between two pieces
  end_code()
  sub(/^ /, "", text)
  text = masked(text)
  # Parts of a contract, each in a line of its own.
  if (match(text, /^(Requires|On failure|Order|Lifetime|Memory|Cost): /))
    text = "\n<b>" substr(text, 1, RLENGTH - 1) "</b> " substr(text, RLENGTH + 1)
  comment = comment text "\n"
}

function end_code() {
  if (in_code) comment = comment "@endcode\n"
  in_code = 0
}

function taken() {
  end_code()
  taken_comment = comment
  comment = ""
  return taken_comment
}

function document(text, command) {
  if (text != "") print "/*!" command "\n" text "*/"
}

# Braces that open a class, a namespace or an enumeration; in all others comments are left alone.
function count_braces(code,    i, c) {
  gsub(/"([^"\\]|\\.)*"/, "", code)
  gsub(/'([^'\\]|\\.)'/, "", code)
  for (i = 1; i <= length(code); ++i) {
    c = substr(code, i, 1)
    if (c == "{") {
      is_scope[++depth] = statement ~ /(class|struct|namespace|enum|union)/ && statement !~ /\(/
      statement = ""
    } else if (c == "}") {
      if (depth > 0) --depth
      statement = ""
    } else if (c == ";") {
      statement = ""
    } else {
      statement = statement c
    }
  }
}

function in_body() {
  return depth > 0 && !is_scope[depth]
}

# Marks the declarations from line `i` on, up to a blank line, comment or body, that have the name of
# the first: where each begins, in `repeats`.
function mark_overloads(i,    text, name, first_name, start) {
  for (start = i; i <= lines && line[i] !~ /^ *(\/\/.*)?$/ && line[i] !~ /{$/; ++i) {
    text = text line[i]
    if (line[i] !~ /[;}]( *\/\/.*)?$/) continue # a declaration of several lines
    if (!match(text, /[A-Za-z_0-9]+\(|operator[^(]*\(/)) break
    name = substr(text, RSTART, RLENGTH)
    if (first_name == "") first_name = name
    if (name != first_name || text ~ /= delete/) break
    repeats[start] = 1
    start = i + 1
    text = ""
  }
}

BEGIN {
  own_class = ARGV[1]
  sub(/.*\//, "", own_class)
  sub(/\.h$/, "", own_class)
  at_head = 1
}

at_head && /^\/\// { take(substr($0, 3)); next }
at_head { head = taken(); at_head = 0; lines = 0 }

# The rest is read ahead: where the head goes is known only at the end.
{ line[++lines] = $0 }

END {
  if (at_head) head = taken()
  class_line = 0
  for (i = 1; i <= lines && !class_line; ++i)
    if (line[i] ~ "^(class|struct) " own_class "( |$)" && line[i] !~ /;$/) class_line = i
  # In front of the template's line and of a comment that the class has besides.
  for (first = class_line; first > 1 && line[first - 1] ~ /^(template|\/\/)/; --first) ;
  if (!class_line) document(head, " \\file")
  for (i = 1; i <= lines; ++i) {
    if (i == first && class_line) comment = head
    process(line[i], i)
  }
}

function process(text, i,    code, note) {
  if (!in_body() && text ~ /^ *\/\//) {
    sub(/^ *\/\//, "", text)
    take(text)
    return
  }
  if (!in_body() && text ~ /^ *$/) {
    taken() # a comment that stands alone describes nothing that follows
    print text
    return
  }
  if (text ~ /^ *#/) { print text; return }
  code = text
  note = ""
  if (match(text, / +\/\/ .*/)) {
    code = substr(text, 1, RSTART - 1)
    note = substr(text, RSTART)
    sub(/ *\/\/ /, "", note)
  }
  if (!in_body() && comment != "") {
    mark_overloads(i)
    document(taken(), "")
  } else if (i in repeats) {
    document(taken_comment, "")
  }
  if (note != "" && !in_body() && code ~ /[;,]$/) {
    print code " ///< " masked(note)
  } else {
    print code
  }
  count_braces(code)
}
