# Takes the code out of Markdown files into the directory `out`: each cpp block
# with includes of its own becomes a program_<n>.cpp, with the text block that
# follows it as the program_<n>.text that it must give; the other cpp blocks
# become functions of fragments.cpp; the lines of sh and console blocks go to
# commands.

function finish_cpp() {
  at = "#line " start + 1 " \"" FILENAME "\"\n"
  if (text ~ /(^|\n)#include /) {
    program = out "/program_" ++programs
    printf "%s%s", at, text > (program ".cpp")
    return
  }
  ++fragments
  scoped = text ~ /^(\/\/[^\n]*\n)*(class|struct|void|bool|u?int[0-9]+_t) [^;\n]*\{\n/
  printf "namespace fragment_%d {\n%s%s%s%s}\n", fragments,
      scoped ? "" : "[[maybe_unused]] static void Run() {\n", at, text,
      scoped ? "" : "}\n" > (out "/fragments.cpp")
}

BEGIN {
  fragments_file = out "/fragments.cpp"
  print "#include \"all_headers.h\"" > fragments_file
  print "using namespace QuorlBased;" > fragments_file
}

FNR == 1 { kind = ""; program = "" }

/^ *```/ {
  if (kind == "") {
    kind = $1; sub(/^```/, "", kind)
    if (kind == "") kind = "plain"
    text = ""; start = FNR
    next
  }
  if (kind == "cpp") finish_cpp()
  if (kind == "text" && program != "") {
    printf "%s", text > (program ".text")
    program = ""
  }
  kind = ""
  next
}

kind == "cpp" || kind == "text" { text = text $0 "\n" }

kind == "sh" || kind == "console" {
  command = $0
  if (kind == "sh" || sub(/^\$ /, "", command)) {
    print FILENAME ":" FNR ": " command > (out "/commands")
  }
}

END { print fragments + 0, programs + 0 }
