#!/usr/bin/env python3
"""Reports the links of a site that lead nowhere: check_links.py DIR. Doxygen itself does not check all."""

import pathlib
import re
import sys
import urllib.parse

site = pathlib.Path(sys.argv[1])
pages = {page.name: page.read_text(encoding="utf-8") for page in site.glob("*.html")}
anchors = {name: set(re.findall(r'(?:id|name)="([^"]+)"', text)) for name, text in pages.items()}
broken = []
for name, text in pages.items():
    for link in set(re.findall(r'href="([^"]*)"', text)):
        target, _, anchor = urllib.parse.unquote(link).partition("#")
        target = target or name
        if ":" in link or (target in pages and (not anchor or anchor in anchors[target])):
            continue
        if anchor or not (site / target).exists():
            broken.append(f"{name}: {link}")
sys.exit("\n".join(sorted(broken)) or 0)
