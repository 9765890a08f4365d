#!/bin/sh
# Includes point down the house only: a room includes itself, what lies below it, and the public headers.
# check_includes.sh SOURCE_DIR
cd "$1" || exit 2
bad=0

# allow FOLDER PATTERN: quoted includes of the folder's sources match the pattern.
allow() {
    lines=$(grep -rnE '^#include "' --include='*.h' --include='*.cpp' "$1" | grep -vE "#include \"($2)")
    [ -z "$lines" ] && return
    echo "$1 includes what is not below it:"
    echo "$lines"
    bad=1
}

public='corvixdm/|[a-z]+\.h"'
allow include/corvixdm '[a-z]+\.h"'
allow shared/common/utils/utilslib 'utilslib/|corvixdm/'
allow src/resolver 'resolver/|utilslib/|corvixdm/'
allow src/datamodel/transport 'datamodel/transport/|utilslib/|corvixdm/'
allow src/datamodel/dom 'datamodel/dom/|utilslib/|corvixdm/'
allow src/datamodel/maps 'datamodel/(maps|dom)/|utilslib/|corvixdm/'
allow src/datamodel/collection 'datamodel/(collection|maps)/|utilslib/|corvixdm/'
for room in caches snmp; do
    allow src/datamodel/$room "datamodel/($room|collection|maps)/|utilslib/|corvixdm/"
done
allow src/datamodel/xml 'datamodel/(xml|collection|maps|dom|transport)/|utilslib/|corvixdm/'
allow src/datamodel/ipp/target 'datamodel/ipp/target/|utilslib/|corvixdm/'
allow src/datamodel/ipp/exchange 'datamodel/(ipp/exchange|ipp/target|transport)/|wire/ipp/|utilslib/|corvixdm/'
for folder in printing following; do
    allow src/datamodel/ipp/$folder "datamodel/(ipp/$folder|ipp/exchange|ipp/target|transport)/|wire/(ipp|http)/|utilslib/|corvixdm/"
done
allow src/datamodel/ipp 'datamodel/(ipp|collection|maps|transport)/|wire/(ipp|http)/|resolver/|utilslib/|corvixdm/'
allow src/datamodel/deviceinfo 'datamodel/(deviceinfo|ipp/target|transport)/|resolver/|utilslib/|corvixdm/'
allow src/datamodel/binding 'datamodel/(binding|caches|snmp|xml|ipp|collection|maps|dom)/|utilslib/|corvixdm/'
allow src/datamodel/api 'datamodel/|wire/ipp/|utilslib/|corvixdm/'
# What travels is portable: no system header of one platform.
for room in http ipp snmp; do
    allow src/wire/$room "wire/($room/|ascii\\.h)|corvixdm/ippvalue\\.h"
done
lines=$(grep -rnE '#include <(windows|oaidl|win[a-z0-9]+|ws2[a-z]+|com[a-z]+|sys/[a-z]+|unistd)\.h>' src/wire)
[ -z "$lines" ] || { echo "src/wire includes a system's own headers:"; echo "$lines"; bad=1; }
headers='transport/[a-z]+\.h'
allow transport/sockets 'transport/sockets/|utilslib/'
allow transport/tls 'transport/(sockets|tls)/|utilslib/'
allow transport/http "transport/(sockets|tls|http)/|$headers|wire/(http/|ascii\\.h)|utilslib/|corvixdm/"
allow transport/snmp "transport/(sockets|snmp)/|$headers|wire/snmp/|utilslib/|corvixdm/"
allow transport "$public|transport/|wire/|utilslib/"
for header in nettransport nettransport_c portmap snmpconnection refcounted; do
    allow transport/$header.h "corvixdm/|$headers"
done
allow examples "$public|transport/"
# The rooms of corvixsim, each with those below it; what serves does not know what else is served.
allow tools/corvixsim/base 'base/|wire/'
allow tools/corvixsim/device '(base|device)/|wire/'
allow tools/corvixsim/snmp '(base|device|snmp)/|wire/'
for room in http ipp soap; do
    allow tools/corvixsim/$room "(base|device|http|$room)/|wire/"
done
allow tools/corvixsim '(base|control|device|http|ipp|snmp|soap|wire)/|(options|simulator)\.h"'

# The rooms of corvixctl, each with those below it.
ctl=base
beside='corvixdm/|transport/|utilslib/|wire/'
for room in base output device maps printing commands; do
    case $room in
        maps) ctl='base|output|device|maps' ;;
        printing) ctl='base|output|device|printing' ;;
        commands) ctl='base|output|device|maps|printing|commands' ;;
        *) ctl="$ctl|$room" ;;
    esac
    allow tools/corvixctl/$room "($ctl)/|$beside"
done

# Only those that put the house together name another room's concrete classes.
lines=$(grep -rnE '#include "datamodel/[a-z]+/[a-z]+impl\.h"' --include='*.h' --include='*.cpp' src |
    sed -E 's|^src/datamodel/([a-z]+)/|\1 &|' | grep -vE '^(binding|api) ' |
    grep -vE '^([a-z]+) .*"datamodel/\1/' | grep -v '"datamodel/collection/datacollectionimpl.h"')
if [ -n "$lines" ]; then
    echo "concrete classes of another room are named by:"
    echo "$lines"
    bad=1
fi
exit $bad
