# Makes a function of each cpp block, and a list of them with their headings.
/^## / { question = substr($0, 8) }
/^```cpp$/ {
  printf "static void answer_%d([[maybe_unused]] WDB_Database* world, [[maybe_unused]] WDB_Camera* eye) {\n", ++count
  printf "#line %d \"%s\"\n", NR + 1, FILENAME
  inside = 1
  questions[count] = question
  next
}
/^```$/ && inside { print "}"; inside = 0 }
inside { print }
END {
  print "static const struct { const char* question; void (*answer)(WDB_Database*, WDB_Camera*); } answers[] = {"
  for (i = 1; i <= count; ++i) printf "    {\"%s\", answer_%d},\n", questions[i], i
  print "};"
}
