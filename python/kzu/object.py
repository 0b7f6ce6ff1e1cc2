"""Conveniences over the wrapper types of kz.object."""
