# Assimp, through which the host reads and writes foreign models, and what the tests hold it against: the library's own tool
# and models, and independent readers in an environment of their own for Python 3.

install_models() { install_optional "kzhost reads and writes no foreign models, and tests of them fail" libassimp-dev; }

# The environment goes to TARGET.
install_model_checks() {
    install_optional "foreign models are not checked" assimp-testmodels assimp-utils
    has_modules "$1" 'numpy, PIL, pygltflib, trimesh' ||
        fetch_environment "$1" 'numpy>=1.24,<3' 'pillow>=10' 'pygltflib==1.16.*' 'trimesh>=4,<6' ||
        say "not available: trimesh and pygltflib for Python 3 - what is written is not checked"
}
