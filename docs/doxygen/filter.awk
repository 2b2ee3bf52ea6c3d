# A header as doxygen is to see it: the comment that it opens with describes the file, what is said
# of several variables of one line is said of each, members that are defaulted or deleted need no words
# of their own, and arguments that a default does not use have their names. Lines stay where they are.
FILENAME !~ /\.h$/ { print; next }
FNR == 1 { opening = 1 }
opening && /^\/\/( |$)/ {
  sub(/^\/\//, FNR == 1 ? "/// @file " FILENAME : "///")
  print
  next
}
{ opening = 0 }
/^ *\/\/\// {
  words = words substr($0, index($0, "///") + 3)
  print
  next
}
/ = (default|delete);$/ && words == "" { print ""; next }
/^ +[A-Za-z0-9_:]+ [A-Za-z0-9]+( = [A-Za-z0-9.:-]+)?(, [A-Za-z0-9]+( = [A-Za-z0-9.:-]+)?)+;/ && words != "" {
  type = $1
  gsub(/, /, "; /**" words " */ " type " ")
}
{
  words = ""
  while (match($0, /\/\*[A-Za-z]+\*\//)) {
    $0 = substr($0, 1, RSTART - 1) substr($0, RSTART + 2, RLENGTH - 4) substr($0, RSTART + RLENGTH)
  }
  print
}
