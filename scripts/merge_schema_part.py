#!/usr/bin/env python3
"""Folds an element family's schema fragment into schema/qorl1.xsd: each named
type of the fragment replaces the open placeholder of the same name, and the
fragment's other definitions are added. Run once per fragment, then delete it.
   python3 scripts/merge_schema_part.py schema/parts/FAMILY.xsd"""
import re
import sys

main_path = "schema/qorl1.xsd"
part = open(sys.argv[1]).read()
main = open(main_path).read()
body = part[part.index(">", part.index("<xs:schema")) + 1:part.rindex("</xs:schema>")]
for name in re.findall(r'<xs:complexType name="([^"]+)"', body):
    pattern = re.compile(r'[ \t]*<xs:complexType name="%s">.*?</xs:complexType>\n' % re.escape(name), re.S)
    m = pattern.search(main)
    if m and "ObjectElementType" in m.group(0):
        main = main[:m.start()] + main[m.end():]
    elif m:
        sys.exit("%s is defined already and is no placeholder" % name)
end = main.rindex("</xs:schema>")
main = main[:end] + "  <!-- " + sys.argv[1].split("/")[-1] + " -->" + body.rstrip() + "\n\n" + main[end:]
open(main_path, "w").write(main)
