# Makes of our links what Doxygen can follow: it knows no anchors of headings, and its pages lie in
# another folder than their sources.
s/\[\([^]]*\)\](#[^)]*)/\1/g
s/](\([^)#]*\.md\)#[^)]*)/](\1)/g
s#](\(\.\./\)\{0,1\}\(Cirrus\|cmake\|emulator\|examples\|scripts\|tests\)/#](../../\2/#g
