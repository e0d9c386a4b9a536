# Shows the plain comments of the headers to Doxygen: the first block is about
# the file, a comment line is about what follows, and a comment behind a member
# is about that member. What is indented is code. Signs that Doxygen would take
# for commands stand for themselves.
function plain(text) {
  gsub(/[\\@#<>%]/, "\\\\&", text)
  return text
}

NR == 1 && /^\/\// { print "/// @file"; in_file_comment = 1 }
!/^\/\// { if (in_file_comment) print ""; in_file_comment = 0 }

/^ *\/\/   / { sub(/\/\/   /, "///        "); print; next }
/^ *\/\// {
  match($0, /^ *\/\//)
  print substr($0, 1, RLENGTH) "/" plain(substr($0, RLENGTH + 1))
  next
}
match($0, /[;,] +\/\/ /) {
  print substr($0, 1, RSTART + RLENGTH - 2) "/<" \
        plain(substr($0, RSTART + RLENGTH - 1))
  next
}
{ print }
