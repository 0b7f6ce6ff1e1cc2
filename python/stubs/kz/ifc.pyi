# Nothing is in it: it is for what a host adds.
