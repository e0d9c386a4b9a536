# Shows the plain comments of a header to Doxygen.
#
# - The first block is about the file, any other one about what follows it, and
#   a comment behind a member is about that member. A block above several
#   declarations is about all of them, or, where each has a comment of its own,
#   their heading.
# - Indented lines behind an empty one are code. Signs that Doxygen would take
#   for commands stand for themselves, but for `code` and docs/<guide>.md.
# - Function bodies and deleted functions are left out.
# - A file and a class get a link to their guide.

BEGIN {
  split("c modules crash crashes exceptions failures loader getting-started " \
        "log logging log_fmt logging log_forms logging logger logging " \
        "record log-readers targets targets target_fd targets " \
        "target_file targets target_json targets target_stream targets " \
        "visibility architecture", words, " ")
  for (i = 1; i in words; i += 2) guides[words[i]] = words[i + 1]
}

# ---- Reading ----

# Takes the signs of a comment off: `text[n]` is what is left, `indent[n]` what
# stood before. A comment of C goes from one line to another.
NR == 1 {
  header = FILENAME
  gsub(/.*\/|\.h$/, "", header)
}
{ lines[NR] = $0 }
!in_c && /^ *\/\*/ { in_c = 1 }
in_c || /^ *\/\// {
  is_comment[NR] = 1
  match($0, /^ */)
  indent[NR] = substr($0, 1, RLENGTH - RLENGTH % 2)
  if (sub(/ *\*\/$/, "")) in_c = 0
  sub(/^ *(\/\/|\/\*|\*) ?/, "")
  text[NR] = $0
}

# The line without what may hold a brace or a semicolon of its own.
function bare(line) {
  gsub(/R"\([^)]*\)"|"([^"\\]|\\.)*"|'([^'\\]|\\.)'/, "", line)
  gsub(/\/\*[^*]*\*\//, "", line)
  sub(/ *\/\/.*/, "", line)
  return line
}

function opens_scope(statement) {
  sub(/^ *(template <[^>]*> *)?/, "", statement)
  return statement ~ /^((inline )?namespace|class|struct|enum|extern)/
}

# Follows the braces of a line. `inside[n]` is whether it begins in the body of a
# function or in an initialiser, `outside[n]` the contrary, but never for the
# preprocessor. `opens[n]` is whether a class or its like begins in it, `ends[n]`
# how many declarations end in it.
function scan(n,    line, i, c) {
  outside[n] = !(inside[n] = body)
  line = bare(lines[n])
  for (i = 1; i <= length(line); ++i) {
    c = substr(line, i, 1)
    if (!body && c ~ /[()]/) parens += c == "(" ? 1 : -1
    if (parens) continue
    if (c == "{" && ++depth && !body) {
      if (opens_scope(statement)) opens[n] = 1
      else body = depth
    }
    if (c == "}" && depth-- == body) {
      body = 0
      ++ends[n]
      statement = ""
    }
    if (body) continue
    if (c == ";" && statement ~ /[^ ]/) ++ends[n]
    statement = c ~ /[{};]/ ? "" : statement c
  }
  if (statement ~ /^ *(public|protected|private): *$/) statement = ""
}

# ---- Writing ----

# Text for people as Doxygen's.
function plain(line,    pieces, i, result) {
  split(line, pieces, "`")
  for (i = 1; i in pieces; ++i) {
    if (i % 2) {
      gsub(/&/, "\\&amp;", pieces[i])
      gsub(/"/, "\\&quot;", pieces[i])
      gsub(/[\\@#<>%*]/, "\\\\&", pieces[i])
      while (match(pieces[i], /docs\/[a-z-]+\.md/)) {
        pieces[i] = substr(pieces[i], 1, RSTART - 1) "@ref guide-" \
                    substr(pieces[i], RSTART + 5, RLENGTH - 8) \
                    substr(pieces[i], RSTART + RLENGTH)
      }
    }
    result = result (i > 1 ? "`" : "") pieces[i]
  }
  return result
}

# The comment in the lines `from` to `to`.
function write_comment(from, to,    i, is_code, before) {
  before = indent[from] "/// "
  for (i = from; i <= to; ++i) {
    if (!is_code && text[i] ~ /^  [^ -]/ && text[i - 1] == "") {
      is_code = 1
      print before "@code" (text[i] ~ /^  \[/ ? "{.unparsed}" : "{.cpp}")
    }
    print before (is_code ? substr(text[i], 3) : plain(text[i]))
    if (is_code && (i == to || text[i + 1] ~ /^ ?[^ ]/ ||
                    text[i + 1] == "" && text[i + 2] !~ /^  /)) {
      is_code = 0
      print before "@endcode"
    }
  }
}

function write_guide(before) {
  print before "/// @par More in"
  print before "/// @ref guide-" (header in guides ? guides[header] : "toolkit")
}

function is_left_out(n) {
  return lines[n] ~ /= delete;$/ ||
         lines[n] ~ /= default;$/ && !is_comment[n - 1]
}

function write_code(n,    line, at) {
  line = lines[n]
  if (is_left_out(n) || inside[n] && !ends[n]) line = ""
  if (outside[n] && match(line, /[;,] +(\/\/|\/\*) /)) {
    at = RSTART + RLENGTH
    sub(/ *\*\/$/, "", line)
    line = substr(line, 1, RSTART) " ///< " plain(substr(line, at))
  }
  # Doxygen itself does not ask for these.
  if (outside[n] && line ~ /^ +[A-Za-z_]+ = [0-9]+,?$/) {
    line = line " ///< @ref value_without_a_comment"
  }
  print line
}

# The last line of the declarations that stand right behind the comment that
# ends before line `n`; `count` of them, `commented` of them with a comment.
function find_run(n,    last) {
  count = commented = 0
  for (last = n - 1; n <= NR && !(is_comment[n] && outside[n]); ++n) {
    if (opens[n] ||
        outside[n] && lines[n] ~ /^ *($|}|#|public:|protected:|private:)/) {
      break
    }
    if (!is_left_out(n)) count += ends[n]
    if (ends[n] && outside[n] && lines[n] ~ /; +\/[\/*]/) ++commented
    last = n
  }
  return last
}

# The comment in the lines `from` to `to` and what has to stand around it.
function write_block(from, to,    last, heading, i) {
  last = find_run(to + 1)
  if (from == 1) {
    print "/// @file"
    write_comment(from, to)
    write_guide("")
    print ""
  } else if (count < 2) {
    write_comment(from, to)
    if (lines[to + 1] ~ /^ *(class|struct) /) write_guide(indent[from])
  } else if (commented == 0) {
    print "///@{\n"
    write_comment(from, to)
    run_end = last
  } else if (commented == count) {
    heading = text[from]
    for (i = from + 1; i <= to; ++i) heading = heading " " text[i]
    print "/// @name " plain(heading) "\n///@{"
    run_end = last
  }
  # Where some have a comment, Doxygen complains of the others.
}

END {
  for (n = 1; n <= NR; ++n) {
    if (is_comment[n]) outside[n] = !(inside[n] = body)
    else if (lines[n] ~ /^ *#/ || continued) outside[n] = 0
    else scan(n)
    continued = lines[n] ~ /\\$/
  }
  for (n = 1; n <= NR; n = to + 1) {
    for (to = n; is_comment[n] && is_comment[to + 1]; ) ++to
    # One that stands alone, or before a #pragma, is about nothing.
    if (is_comment[n] && outside[n] &&
        (n == 1 || lines[to + 1] !~ /^$|^#[^d]/)) {
      write_block(n, to)
      continue
    }
    for (i = n; i <= to; ++i) write_code(i)
    if (to == run_end) print "///@}"
  }
  if (depth || parens) print "/// @file\n/// @ref braces_that_do_not_match"
}
