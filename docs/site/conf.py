# SPDX-License-Identifier: MIT
"""Settings of the documentation site, for Sphinx. The pages are those of the source tree; scripts/docs builds them."""

import logging
import os
import pathlib
import re

from docutils import nodes

ROOT = pathlib.Path(os.environ["NARVO_SOURCE_DIR"])  # the source tree; scripts/docs sets it
HERE = ROOT / "docs" / "site"

project = "narvoassem"
author = copyright = "The narvoassem authors"
version = release = ".".join(
    re.findall(r"^#define NARVOASSEM_VERSION_[A-Z]* (\d+)", (ROOT / "include/narvoassem/version.h").read_text(), re.M)
)

extensions = ["breathe", "myst_parser", "sphinx.ext.autodoc"]
root_doc = "index"
language = "en"
highlight_language = "text"  # blocks without a language are commands and their output

# Headings are linked as on a forge: page.md#words-of-the-heading.
myst_heading_anchors = 4

breathe_projects = {"headers": os.environ["NARVO_HEADER_XML"]}
breathe_default_project = "headers"
breathe_default_members = ("members",)
breathe_show_include = False
cpp_id_attributes = ["NARVO_API"]

autodoc_member_order = "bysource"
autodoc_typehints = "none"

html_theme = "furo"
html_title = f"narvoassem {version}"
html_static_path = [str(HERE / "static")]
html_css_files = ["site.css"]
html_copy_source = False
html_show_sphinx = False
html_theme_options = {"navigation_with_keys": True}
pygments_style = "friendly"
pygments_dark_style = "monokai"


def resolve_tree_path(app, env, node, contnode):
    """A link to a folder or file of the tree that is no page: the examples have a page here, others stay plain text."""
    target = node["reftarget"].split("#")[0]
    if "refdoc" not in node or not target or target.endswith(".md"):
        return None
    if os.path.normpath(pathlib.PurePosixPath(node["refdoc"]).parent / target) == "examples":
        uri = app.builder.get_relative_uri(node["refdoc"], "reference/examples")
        return nodes.reference("", "", contnode, internal=True, refuri=uri)
    return contnode


def readable_signature(app, what, name, obj, options, signature, returned):
    """Signatures without the compiled part's own names: a handle is any object, as the text below says."""

    def readable(text):
        return text and text.replace(": handle", "").replace("narvoassem._narvoassem.", "narvoassem.")

    return readable(signature), None if returned == "object" else readable(returned)


def is_no_namespace(record):
    """Each header declares the host library's namespace, which Sphinx takes for the same thing said twice."""
    text = record.getMessage()
    return not ("Duplicate C++ declaration" in text and re.search(r"cpp:type:: (narvo|v1)'", text))


def setup(app):
    logging.getLogger("sphinx.sphinx.domains.cpp").addFilter(is_no_namespace)
    app.connect("autodoc-process-signature", readable_signature)
    app.connect("missing-reference", resolve_tree_path)
