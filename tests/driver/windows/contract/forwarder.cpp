// A library of forwarded exports needs a source.
