# What builds the site, MkDocs in an environment of its own, and what checks it: packages of npm and a browser.

readonly KZ_SITE_PACKAGES=('mkdocs==1.6.*' 'mkdocs-material==9.*')
readonly KZ_SITE_CHECKERS=(puppeteer-core@24 axe-core@4)

# The environment goes to TARGET.
install_site() {
    has_modules "$1" 'mkdocs, material, jinja2, yaml' || fetch_environment "$1" "${KZ_SITE_PACKAGES[@]}"
}

# The packages go to TARGET, whole or not at all.
install_site_check() {
    local target=$1
    command -v node npm >/dev/null || install_packages nodejs npm || return 1
    command -v chromium >/dev/null || install_packages chromium || return 1
    [ -d "$target/node_modules/axe-core" ] && return
    say "fetching ${KZ_SITE_CHECKERS[*]}"
    rm -rf "$target" "$target.new"
    mkdir -p "$target.new"
    echo '{"private": true}' >"$target.new/package.json"
    quietly npm install --prefix "$target.new" --ignore-scripts --no-audit --no-fund "${KZ_SITE_CHECKERS[@]}" || return 1
    mv "$target.new" "$target"
}
