# Sourced by the end-to-end test scripts: whether binaries are built for the
# platform a prebuilds/ folder names, as Debian's `file` reads their headers
# (the ELF machine, the PE machine).
declare -A MACHINE=(
  [linux-x64]='ELF 64-bit LSB .*x86-64'
  [linux-arm64]='ELF 64-bit LSB .*ARM aarch64'
  [win32-x64]='PE32\+ .*x86-64'
  [darwin-x64]='Mach-O 64-bit .*x86_64'
  [darwin-arm64]='Mach-O 64-bit .*arm64'
)

built_for() {  # built_for <platform-arch> <file...>: each file is a binary for it
  local want=$1 pattern=${MACHINE[$1]:-} file
  shift
  [[ -n $pattern ]] || { echo "no machine known for $want" >&2; return 1; }
  for file; do
    file -b "$file" | grep -Eq "^$pattern" || { echo "$file: $(file -b "$file"), not $want" >&2; return 1; }
  done
}
