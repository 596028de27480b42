# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""The guide as web pages; scripts/guide builds them."""

project = "Veltra"
author = "The Veltra Authors"
copyright = "2026 The Veltra Authors"  # noqa: A001, Sphinx's name
extensions = ["myst_parser"]
myst_heading_anchors = 2  # links to headings
exclude_patterns = ["layers", "pictures.txt"]
html_theme = "sphinx_rtd_theme"
html_title = "Veltra: a layer along a great circle"
html_show_sourcelink = False
html_copy_source = False
html_last_updated_fmt = None
html_theme_options = {"navigation_depth": 2}
