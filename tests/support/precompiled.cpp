// Compiled for the headers that stand before it.
