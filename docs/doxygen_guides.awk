# Shows a guide to Doxygen: links and headings get the labels of the site, and
# a name in `code` that the headers declare becomes a link to its reference.
# `headers` names them. A link that leads to no file becomes one that Doxygen
# complains of.

BEGIN {
  count = split(headers, files, " ")
  for (i = 1; i <= count; ++i) {
    depth = 0
    name = files[i]
    sub(/.*\//, "", name)
    known["vellix/" name] = name
    while ((getline line < files[i]) > 0) declare(line)
  }
  # The guides mean the operation, not the class of this name.
  known["Log"] = "QuorlBased::IQuorlLogger::Log"
}

function learn(name, scope) {
  known[name] = known[scope name] = scope name
}

# What a line at the margin declares, and each operation of the logger.
function declare(line) {
  sub(/^__attribute__\(\(.*\)\) /, "", line)
  if (line ~ /^namespace /) {
    sub(/^namespace /, "", line)
    sub(/ *[{].*/, "", line)
    scopes[++depth] = line "::"
  } else if (line ~ /^}  \/\/ namespace/) {
    --depth
  }
  scope = depth ? scopes[depth] : ""
  if (scope ~ /_internal|detail|record_rule/) return
  if (match(line, /^(class|struct) [A-Za-z0-9_]+ ?(final|:|[{])/)) {
    split(line, words, " ")
    learn(words[2], scope)
    logger = words[2] == "IQuorlLogger" ? scope "IQuorlLogger::" : ""
  } else if (match(line, /^([a-z_A-Z][^(=#]*[ *&])?[A-Za-z0-9_]+\(/) ||
             logger && match(line, /^  virtual .* \*?[A-Za-z]+\(/)) {
    name = substr(line, 1, RLENGTH - 1)
    sub(/.*[ *&]/, "", name)
    learn(name, line ~ /^ / ? logger : scope)
  } else if (match(line, /^constexpr [a-z0-9_]+ k[A-Za-z]+/)) {
    split(line, words, " ")
    learn(words[3], scope)
  }
}

FNR == 1 {
  guide = FILENAME
  gsub(/.*\/|\.md$/, "", guide)
  guide = tolower(guide)
}

/^```/ { in_code = !in_code }
in_code || /^```/ { print; next }

# As the repository's browser makes anchors of headings.
function slug(text) {
  text = tolower(text)
  gsub(/[^a-z0-9_ -]/, "", text)
  gsub(/ /, "-", text)
  return text
}

function anchor(heading,    name) {
  name = slug(heading)
  return name (seen[name]++ ? "-" seen[name] - 1 : "")
}

function label(target,    part, file) {
  part = target ~ /#/ ? target : ""
  sub(/^[^#]*#/, "-", part)
  sub(/#.*/, "", target)
  file = FILENAME
  sub(/[^\/]*$/, target, file)
  if (target && (getline line < file) < 0) return "missing:" target
  close(file)
  gsub(/.*\/|\.md$/, "", target)
  if (target ~ /\./) return target
  if (target == "README" && !part) return "index"
  return "guide-" (target == "" ? guide : tolower(target)) part
}

function link_files(line,    result, target) {
  # Doxygen does not know code in a link's text.
  while (match(line, /\[`[^`]*`\]\(/)) {
    line = substr(line, 1, RSTART) substr(line, RSTART + 2, RLENGTH - 5) \
           substr(line, RSTART + RLENGTH - 2)
  }
  while (match(line, /\]\([^):]+\)/)) {
    target = substr(line, RSTART + 2, RLENGTH - 3)
    result = result substr(line, 1, RSTART + 1) \
             (target ~ /\.svg$/ ? target : "@ref " label(target)) ")"
    line = substr(line, RSTART + RLENGTH)
  }
  return result line
}

# The name that `code` stands for in the reference, or "".
function reference(code,    name, class) {
  name = code
  sub(/\(.*/, "", name)
  if (name in known) return known[name]
  if (!match(name, /::[A-Za-z_]+$/)) return ""
  class = substr(name, 1, RSTART - 1)
  return class in known ? known[class] substr(name, RSTART) : ""
}

function link_names(line,    pieces, count, i, to, result) {
  count = split(line, pieces, "`")
  for (i = 1; i <= count; ++i) {
    to = in_span && i < count ? reference(pieces[i]) : ""
    if (to) {
      sub(/`$/, "", result)
      result = result "<code>@ref " to " \"" pieces[i] "\"</code>"
    } else {
      result = result pieces[i] (i < count ? "`" : "")
    }
    if (i < count) in_span = !in_span
  }
  return result
}

/^#/ {
  text = $0
  sub(/^#+ */, "", text)
  is_title = /^# /
  if (is_title && guide == "readme") print
  else print $0 " {#guide-" guide (is_title ? "" : "-" anchor(text)) "}"
  next
}
# Doxygen does not know a link whose text goes over the end of a line.
{
  while (/\[[^]`]*$/ && (getline next_line) > 0) {
    sub(/^ +/, "", next_line)
    $0 = $0 " " next_line
  }
}
# Doxygen does not know bold type next to code.
/^$/ { in_span = is_bold = 0 }
{ while (sub(/\*\*/, is_bold ? "</b>" : "<b>")) is_bold = !is_bold }

# The list of the guides is their order in the navigation.
guide == "index" && match($0, /^- \[[^]]*\]\([a-zA-Z\/.-]*\.md\)/) {
  text = title = substr($0, 4, RLENGTH - 4)
  sub(/\].*/, "", title)
  sub(/.*\(/, "", text)
  rest = substr($0, RLENGTH + 1)
  print "- @subpage " label(text) " \"" title "\"" link_names(link_files(rest))
  next
}
{ print link_names(link_files($0)) }
