# OpenImageIO, which the host loads with the first picture. It brings about 130 packages, so it is set up where the tests
# need it and not before a first script can run.

install_pictures() { install_optional "kzhost reads and writes no picture files, and tests of them fail" libopenimageio-dev; }
