"""How Sphinx makes the site and the manual page out of the pages in this folder; `make docs` calls it."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]

project = "ORVEX"
author = "The ORVEX developers"
copyright = author
version = release = re.search(r"project\(orvex VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]

extensions = ["myst_parser", "sphinx.ext.autodoc", "sphinx.ext.napoleon", "breathe"]
exclude_patterns = ["_build", "requirements.txt"]
source_suffix = {".md": "markdown"}
myst_enable_extensions = ["colon_fence", "deflist"]
myst_heading_anchors = 4

html_theme = "furo"
html_title = f"ORVEX {version}"
html_static_path = []
html_show_copyright = False
html_show_sourcelink = False
html_theme_options = {"navigation_with_keys": True}

breathe_projects = {"orvex": str(ROOT / "build-docs" / "doxygen" / "xml")}
breathe_default_project = "orvex"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}

autodoc_member_order = "bysource"
autodoc_typehints = "signature"
autodoc_typehints_format = "short"
napoleon_numpy_docstring = True
napoleon_google_docstring = False
napoleon_use_ivar = True
nitpicky = False



def setup(app):
    """Lets the index name pages by patterns that match none, and keeps napoleon from taking what is before a
    colon in an attribute's text for its type."""
    texts = {}

    def leave_out(app, page, source):
        if page == "index":
            lines = source[0].splitlines()
            source[0] = "\n".join(
                line for line in lines if not line.endswith("*") or any((ROOT / "docs").glob(line + ".md"))
            )

    def keep(app, what, name, obj, options, lines):
        texts[name] = list(lines)

    def bring_back(app, what, name, obj, options, lines):
        if what == "attribute":
            lines[:] = texts[name]

    app.connect("source-read", leave_out)
    if "sphinx.ext.autodoc" in extensions:
        app.connect("autodoc-process-docstring", keep, priority=400)
        app.connect("autodoc-process-docstring", bring_back, priority=600)
