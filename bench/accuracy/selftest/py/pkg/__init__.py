"""A tiny package with calls whose callees are known by hand."""
