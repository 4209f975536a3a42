"""How Sphinx makes the site and the manual page out of the pages in this folder; `make docs` calls it."""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "docs" / "extensions"))

project = "ORVEX"
author = "The ORVEX developers"
copyright = author
version = release = re.search(r"project\(orvex VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]

extensions = ["myst_parser", "sphinx.ext.autodoc", "sphinx.ext.napoleon", "breathe", "source_links"]
exclude_patterns = ["_build", "requirements.txt"]
source_suffix = {".md": "markdown"}
myst_enable_extensions = ["colon_fence", "deflist"]
myst_heading_anchors = 4
suppress_warnings = ["myst.xref_missing"] if "man" in sys.argv else []

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

man_pages = [("command-line", "orvex", "finds lowest-energy bit vectors of QUBO problems", author, 1)]
man_show_urls = True
