# The compiler's assembly for ELF, as an assembler for PE takes it. Instructions and data pass through unchanged;
# directives that PE has no use for go, sections get their names there, and functions that several objects have in common
# are kept once. A section or directive that is not known here stops the build: nothing is dropped by guess.
#
# Code is "text", constants are "rdata"; what is writable has no place in this library and is refused. A name behind "$"
# keeps a section apart in its object, so that the linker may leave it out.

function refuse(why) {
  printf "elf_to_pe: line %d: %s: %s\n", NR, why, $0 >"/dev/stderr"
  failed = 1
  exit 1
}

# .section <name>,"<flags>"[,%progbits[,<size or group>[,comdat]]]
function section(text,    parts, count, kind, name) {
  count = split(text, parts, /[ \t]*,[ \t]*/)
  name = parts[1]
  if (name ~ /^\.text(\.|$)/) kind = "text"
  else if (name ~ /^\.rodata(\.|$)/) kind = "rdata"
  else refuse("a section of no known kind")
  sub(/^\.(text|rodata)\.?/, "", name)
  printf "\t.section .%s%s,\"%s\"\n", kind, name == "" ? "" : "$" name, kind == "text" ? "x" : "dr"
  if (parts[count] == "comdat") print "\t.linkonce discard"
}

# Comments of the assembler's and marks of the preprocessor's.
/^[ \t]*@/ || /^[ \t]*#/ || /^[ \t]*$/ { next }

$1 == ".section" {
  sub(/^[ \t]*\.section[ \t]+/, "")
  section($0)
  next
}

# What a symbol is and how long, which unit of the processor computes with fractions (none does), and the source's name.
$1 ~ /^\.(size|type|fpu|file|ident|eabi_attribute|hidden|internal)$/ { next }

# Each copy is in a section that is kept once.
$1 == ".weak" { sub(/\.weak/, ".global") }
$1 == ".inst" { sub(/\.inst/, ".word") }

$1 ~ /^\./ && $1 !~ /:/ && $1 !~ /^\.(text|align|global|syntax|arm|arch|word|short|byte|2byte|4byte|ascii|space|set)$/ {
  refuse("a directive that is not known here")
}

{ print }

END { exit failed }
