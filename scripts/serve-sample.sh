#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Serves the pages of the sample's partners on this machine, http://www.NAME.localhost:28480/, until it is ended.
# Usage: serve-sample.sh FOLDER     FOLDER receives the pages and the server's own files; it is made if need be.
set -euo pipefail
[ $# -eq 1 ] || { echo "Usage: $0 FOLDER" >&2; exit 2; }
list=$(dirname "$(readlink -f "$0")")/../resources/database/sample-pages.tsv
mkdir -p "$1"
folder=$(readlink -f "$1")
nginx=$(command -v nginx || echo /usr/sbin/nginx)
port=28480

# The server gives up the rights of root, so the pages must be open to all.
umask 022
rm -f "$folder/nginx.pid"
mkdir -p "$folder/pages"
grep -v '^#' "$list" | cut -f1 | sort -u | while read -r host; do
    mkdir -p "$folder/pages/$host"
done

# The pages themselves: one file each, "/" as index.html.
grep -v '^#' "$list" | while IFS=$'\t' read -r host path status _; do
    [ "$status" = 200 ] || continue
    file=$folder/pages/$host$path
    mkdir -p "${file%/*}"
done
awk -F '\t' -v pages="$folder/pages/" '
    function escaped(text) {
        gsub(/&/, "\\&amp;", text); gsub(/</, "\\&lt;", text); gsub(/"/, "\\&quot;", text)
        return text
    }
    /^#/ || $3 != 200 { next }
    {
        file = pages $1 $2
        if (file ~ /\/$/) file = file "index.html"
        print "<!DOCTYPE html>\n<html>\n<head><meta charset=\"utf-8\"><title>" escaped($4) "</title></head>\n<body>" > file
        print "<h1>" escaped($4) "</h1>" > file
        count = $6 == "-" ? 0 : split($6, images, " ")
        for (i = 1; i <= count; i++) print "<img src=\"" escaped(images[i]) "\" alt=\"\">" > file
        count = $5 == "-" ? 0 : split($5, links, " ")
        for (i = 1; i <= count; i++) print "<p><a href=\"" escaped(links[i]) "\">" escaped(links[i]) "</a></p>" > file
        print "</body>\n</html>" > file
        close(file)
    }' "$list"

# What every virtual server says about itself; $1 is its name.
server() {
    echo "    server {"
    echo "        listen 127.0.0.1:$port;"
    # A machine without IPv6 cannot listen there, and one with it is asked there first.
    if grep -q '^0*1 .* lo$' /proc/net/if_inet6 2>/dev/null; then echo "        listen [::1]:$port;"; fi
    echo "        server_name $1;"
    echo "        root \"$folder/pages/$1\";"
    grep -v '^#' "$list" | while IFS=$'\t' read -r host path status _; do
        [ "$host" != "$1" ] || [ "$status" = 200 ] || echo "        location = $path { return $status; }"
    done
    echo "    }"
}
{
    cat <<CONFIGURATION
daemon off;
worker_processes 1;
pid "$folder/nginx.pid";
error_log "$folder/error.log";
events {}
http {
    access_log "$folder/access.log";
    types { text/html html; }
    default_type text/html;
    server_names_hash_bucket_size 128;
    client_body_temp_path "$folder/temp-body";
    proxy_temp_path "$folder/temp-proxy";
    fastcgi_temp_path "$folder/temp-fastcgi";
    uwsgi_temp_path "$folder/temp-uwsgi";
    scgi_temp_path "$folder/temp-scgi";
CONFIGURATION
    grep -v '^#' "$list" | cut -f1 | sort -u | while read -r host; do server "$host"; done
    echo "}"
} >"$folder/nginx.conf"

exec "$nginx" -p "$folder" -c "$folder/nginx.conf" -e "$folder/error.log"
