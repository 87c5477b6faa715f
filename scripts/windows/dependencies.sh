#!/usr/bin/env bash
# Builds the libraries that the project stands on for 64-bit Windows, from Debian's source packages.
# Usage: scripts/windows/dependencies.sh CACHE
# CACHE/prefix receives them; what is there already is not built again. CACHE/times.txt tells how long each took.
set -euo pipefail
cache=$(realpath -m "${1:?usage: dependencies.sh CACHE}")
toolchain=$(realpath "$(dirname "$0")/../../cmake/mingw.cmake")
own=$(realpath "$(dirname "$0")")
prefix=$cache/prefix
export KVUTILITIES_WINDOWS_PREFIX=$prefix
gcc=x86_64-w64-mingw32-gcc-posix
mkdir -p "$cache"/{apt/lists/partial,apt/archives/partial,apt/sources,source,build} "$prefix"/{include,lib/pkgconfig,share/cmake,done}

# Downloads a source package, as the machine's own package sources have it, and says where its text is.
get_source() {
  local package=$1 folder=$cache/source/$1
  if [ ! -e "$folder" ]; then
    if [ ! -e "$cache/apt/ready" ]; then
      sed -n 's/^deb /deb-src /p' /etc/apt/sources.list > "$cache/apt/sources.list" 2>/dev/null || true
      for file in /etc/apt/sources.list.d/*.sources; do
        [ ! -e "$file" ] || sed 's/^Types:.*/Types: deb-src/' "$file" > "$cache/apt/sources/$(basename "$file")"
      done
    fi
    local options=(-qq -o Dir::Etc::sourcelist="$cache/apt/sources.list" -o Dir::Etc::sourceparts="$cache/apt/sources"
      -o Dir::State::lists="$cache/apt/lists" -o Dir::Cache="$cache/apt" -o APT::Sandbox::User=root)
    [ -e "$cache/apt/ready" ] || { apt-get "${options[@]}" update >&2; touch "$cache/apt/ready"; }
    mkdir -p "$cache/download/$package" "$folder.part"
    (cd "$cache/download/$package" && apt-get "${options[@]}" source --download-only --tar-only "$package" >&2)
    tar xf "$(ls "$cache/download/$package"/*.orig.tar.* | head -1)" -C "$folder.part" --strip-components=1
    mv "$folder.part" "$folder"
  fi
  echo "$folder"
}

# Runs a command that makes one library, unless it has been made, and notes how long it took.
once() {
  local name=$1 began=$SECONDS
  [ ! -e "$prefix/done/$name" ] || return 0
  echo "== $name"
  "make_$name"
  printf '%-12s %4d s\n' "$name" $((SECONDS - began)) | tee -a "$cache/times.txt"
  touch "$prefix/done/$name"
}

# Builds a source package by its own CMake project.
by_cmake() {
  local package=$1 source build=$cache/build/$1
  shift
  source=$(get_source "$package")
  [ -e "$source/CMakeLists.txt" ] || source+=/$package
  {
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
      -DCMAKE_INSTALL_PREFIX="$prefix" "$@"
    cmake --build "$build" --target install
  } > "$build.log" 2>&1 || { tail -40 "$build.log" >&2; return 1; }
}

# Builds a static library of C files by the compiler alone.
# Usage: by_compiler LIBRARY FILE... -- OPTION...
by_compiler() {
  local library=$1 files=() build=$cache/build/$1
  shift
  while [ "$1" != -- ]; do files+=("$1"); shift; done
  shift
  mkdir -p "$build"
  for file in "${files[@]}"; do
    "$gcc" -O2 -w "$@" -c "$file" -o "$build/$(basename "$file" .c).o"
  done
  x86_64-w64-mingw32-ar rcs "$prefix/lib/lib$library.a" "$build"/*.o
}

# Of Debian's own packages: libraries of headers alone, which are the same on every system.
make_headers() {
  local folder
  for folder in boost CLI toml++ nlohmann; do ln -sfn "/usr/include/$folder" "$prefix/include/$folder"; done
  cp -r /usr/share/cmake/{CLI11,nlohmann_json} "$prefix/share/cmake"
  mkdir -p "$prefix/share/cmake/tomlplusplus"
  cat > "$prefix/share/cmake/tomlplusplus/tomlplusplusConfig.cmake" <<'CMAKE'
add_library(tomlplusplus::tomlplusplus INTERFACE IMPORTED)
set_target_properties(tomlplusplus::tomlplusplus PROPERTIES
  INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}/../../../include" INTERFACE_COMPILE_DEFINITIONS TOML_HEADER_ONLY=1)
CMAKE
  cp /usr/x86_64-w64-mingw32/include/{zlib,zconf}.h "$prefix/include"
  cp /usr/x86_64-w64-mingw32/lib/libz.a "$prefix/lib"
}
make_googletest() { by_cmake googletest; }
make_fmt() { by_cmake fmtlib -DFMT_TEST=OFF -DFMT_DOC=OFF; }
make_expat() {
  by_cmake expat -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_DOCS=OFF
}
make_png() { by_cmake libpng1.6 -DPNG_SHARED=OFF -DPNG_TESTS=OFF; }
make_jpeg() { by_cmake libjpeg-turbo -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF; }
make_tiff() {
  by_cmake tiff -DBUILD_SHARED_LIBS=OFF -Dtiff-{tools,tests,contrib,docs}=OFF -D{lzma,zstd,webp,jbig,lerc,libdeflate}=OFF
}
make_webp() {
  local option off=()
  for option in ANIM_UTILS CWEBP DWEBP GIF2WEBP IMG2WEBP VWEBP WEBPINFO WEBPMUX EXTRAS; do off+=("-DWEBP_BUILD_$option=OFF"); done
  by_cmake libwebp "${off[@]}" -DBUILD_SHARED_LIBS=OFF
}
make_exif() {
  local source settings=$cache/build/exif-settings
  source=$(get_source libexif)
  mkdir -p "$settings/libexif" "$prefix/include/libexif"
  printf '#define %s "%s"\n' GETTEXT_PACKAGE libexif-12 LOCALEDIR "" PACKAGE libexif VERSION 0.6.24 > "$settings/config.h"
  echo '#include <stdint.h>' > "$settings/libexif/_stdint.h"
  by_compiler exif "$source"/libexif/*.c "$source"/libexif/{apple,canon,fuji,olympus,pentax}/*.c \
    -- -DHAVE_CONFIG_H -I"$settings" -I"$settings/libexif" -I"$source"
  cp "$source"/libexif/*.h "$settings/libexif/_stdint.h" "$prefix/include/libexif"
  printf '%s\n' "prefix=$prefix" 'Name: libexif' 'Description: EXIF' 'Version: 0.6.24' 'Libs: -L${prefix}/lib -lexif' \
    'Cflags: -I${prefix}/include' > "$prefix/lib/pkgconfig/libexif.pc"
}
# The copy of shapelib in GDAL's source; it lacks the part that opens files by the C library.
make_shapelib() {
  local source
  source=$(get_source gdal)/ogr/ogrsf_frmts/shape
  by_compiler shp "$source/shpopen.c" "$source/dbfopen.c" "$own/shapelib-files.c" -- -I"$source" -D__USE_MINGW_ANSI_STDIO=1
  cp "$source/shapefil.h" "$prefix/include"
}
make_sqlite() {
  local source
  source=$(get_source sqlite3)
  (cd "$source" && ./configure && make sqlite3.c) > "$cache/build/sqlite.log" 2>&1
  by_compiler sqlite3 "$source/sqlite3.c" -- -DSQLITE_ENABLE_RTREE=1 -DSQLITE_ENABLE_COLUMN_METADATA=1 -DSQLITE_OMIT_LOAD_EXTENSION=1
  cp "$source/sqlite3.h" "$prefix/include"
}
make_proj() {
  by_cmake proj -DENABLE_TIFF=OFF -DENABLE_CURL=OFF -DBUILD_TESTING=OFF -DBUILD_APPS=OFF -DBUILD_PROJSYNC=OFF \
    -DBUILD_SHARED_LIBS=ON -DEXE_SQLITE3=/usr/bin/sqlite3
  cp /usr/share/proj/egm96_15.gtx "$prefix/share/proj"  # of Debian's package of grids
}
# Without LIBKML: the archive lacks the source of one of its libraries, uriparser.
make_gdal() {
  # Debian leaves two data files out, of drivers that are not built.
  sed -i '/cubewerx_extra.wkt\|ecw_cs.wkt/d' "$(get_source gdal)/gdal.cmake"
  by_cmake gdal -DGDAL_USE_EXTERNAL_LIBS=OFF -DGDAL_USE_INTERNAL_LIBS=ON -DGDAL_USE_SQLITE3=ON -DGDAL_USE_EXPAT=ON \
    -DGDAL_BUILD_OPTIONAL_DRIVERS=OFF -DOGR_BUILD_OPTIONAL_DRIVERS=OFF -DOGR_ENABLE_DRIVER_SQLITE=ON \
    -DOGR_ENABLE_DRIVER_GPKG=ON -DOGR_ENABLE_DRIVER_FLATGEOBUF=ON -DOGR_ENABLE_DRIVER_CSV=ON -DOGR_ENABLE_DRIVER_GPX=ON -DBUILD_SHARED_LIBS=ON \
    -DBUILD_APPS=OFF -DBUILD_TESTING=OFF -DBUILD_PYTHON_BINDINGS=OFF -DBUILD_JAVA_BINDINGS=OFF -DBUILD_CSHARP_BINDINGS=OFF
}
make_opencv() {
  local option off=()
  for option in BUILD_{TESTS,PERF_TESTS,opencv_apps,EXAMPLES,JAVA,ZLIB,JPEG,PNG,TIFF,WEBP,ITT} CV_TRACE OPENCV_GENERATE_PKGCONFIG \
    WITH_{ITT,IPP,OPENEXR,JASPER,OPENJPEG,OPENCL,LAPACK,EIGEN,PROTOBUF,QUIRC,ADE,DIRECTX,FFMPEG,MSMF,DSHOW,WIN32UI} \
    ENABLE_PRECOMPILED_HEADERS; do
    off+=("-D$option=OFF")
  done
  by_cmake opencv "${off[@]}" -DBUILD_LIST=core,imgproc,imgcodecs -DBUILD_SHARED_LIBS=ON -DCPU_DISPATCH= \
    -DOPENCV_BIN_INSTALL_PATH=bin -DOPENCV_LIB_INSTALL_PATH=lib -DOPENCV_CONFIG_INSTALL_PATH=lib/cmake/opencv4
}

for library in headers googletest fmt expat png jpeg tiff webp exif shapelib sqlite proj gdal opencv; do once "$library"; done
