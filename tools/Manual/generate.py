"""Makes one HTML page, readable without a network, of Markdown files: generate.py TITLE FILE... > page.html

Links from one of the files to another lead to its place in the page, pictures stand in the page itself, and a link to
a file that is not in the page keeps its text only. The Markdown is rendered by cmark-gfm.
"""
import base64
import html
import os
import posixpath
import re
import subprocess
import sys

STYLE = """
body { font: 15px/1.5 sans-serif; max-width: 60em; margin: 2em auto; padding: 0 1em; color: #222; }
pre, code { font: 13px/1.4 monospace; background: #f4f4f4; }
pre { padding: .6em; overflow-x: auto; }
table { border-collapse: collapse; }
td, th { border: 1px solid #ccc; padding: .2em .6em; text-align: left; vertical-align: top; }
section { border-top: 3px solid #888; margin-top: 3em; }
"""


def anchor(path):
    return re.sub(r"[^a-z0-9]+", "-", os.path.splitext(posixpath.basename(path))[0].lower())


def slug(heading):
    """The fragment that the hosts of Markdown give to a heading."""
    text = html.unescape(re.sub(r"<[^>]+>", "", heading)).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def render(path, pages):
    command = ["cmark-gfm", "--unsafe", "--extension", "table", path]
    text = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    here = posixpath.dirname(path)

    def heading(match):
        return '<h%s id="%s-%s">%s</h%s>' % (match[1], anchor(path), slug(match[2]), match[2], match[1])

    def link(match):
        target, _, fragment = match[1].partition("#")
        if "://" in target:
            return match[0]
        page = posixpath.normpath(posixpath.join(here, target)) if target else path
        if page not in pages:
            return match[2]
        return '<a href="#%s">%s</a>' % (anchor(page) + ("-" + fragment if fragment else ""), match[2])

    def picture(match):
        with open(posixpath.join(here, match[1]), "rb") as file:
            return 'src="data:image/png;base64,%s"' % base64.b64encode(file.read()).decode()

    text = re.sub(r"<h(\d)>(.*?)</h\1>", heading, text)
    text = re.sub(r'<a href="([^"]*)">(.*?)</a>', link, text, flags=re.DOTALL)
    text = re.sub(r'src="([^":]*\.png)"', picture, text)
    return '<section id="%s">\n%s</section>\n' % (anchor(path), text)


def main():
    title, pages = sys.argv[1], [posixpath.normpath(page) for page in sys.argv[2:]]
    print('<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"><title>%s</title>' % html.escape(title))
    print("<style>%s</style></head><body>" % STYLE)
    for page in pages:
        print(render(page, pages), end="")
    print("</body></html>")


main()
