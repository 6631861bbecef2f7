#!/usr/bin/env bash
# make_certificates.sh DIRECTORY: a certificate authority and the certificates of the tests.
#
#   ca.pem                        the authority; ca-dir/ is the same as a hashed directory
#   good expired wrong-name       server certificates of the authority (NAME.pem, NAME.key)
#   not-yet common-name wide-wildcard part-wildcard address-as-name for-clients for-signing
#                                 more of the authority that are not good for a server, or not for
#                                 every name
#   self-signed                   a server certificate that vouches for itself
#   client                        a client certificate: client.pem, client.key, client-locked.key,
#                                 client.der, client-key.der, client.p12 (pass phrase "secret")
#   good.pin self-signed.pin      public-key pins, sha256//...
set -euo pipefail
cd "$1"
exec >make_certificates.log 2>&1

key() { openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1.key"; }

mkdir -p ca-dir issued
: >index.txt
echo 1000 >serial
cat >ca.conf <<'CONF'
[ca]
default_ca = tests
[tests]
dir = .
database = index.txt
serial = serial
new_certs_dir = issued
certificate = ca.pem
private_key = ca.key
default_md = sha256
policy = any
copy_extensions = copy
[any]
commonName = supplied
CONF

key ca
openssl req -x509 -new -key ca.key -subj "/CN=Tests CA" -days 30 -out ca.pem \
  -addext basicConstraints=critical,CA:TRUE -addext keyUsage=critical,keyCertSign,cRLSign
cp ca.pem "ca-dir/$(openssl x509 -hash -noout -in ca.pem).0"

# issue NAME SUBJECT-ALTERNATIVE-NAMES FIRST-DAY LAST-DAY [COMMON-NAME [EXTENSION]]
issue() {
  key "$1"
  openssl req -new -key "$1.key" -subj "/CN=${5:-$1}" ${2:+-addext "subjectAltName=$2"} \
    ${6:+-addext "$6"} -out "$1.csr"
  openssl ca -batch -notext -config ca.conf -in "$1.csr" -out "$1.pem" \
    -startdate "$3" -enddate "$4"
}

names='DNS:localhost,DNS:tnx.test,DNS:*.tnx.test,IP:127.0.0.1,IP:::1'
from=$(date -u -d '-1 day' +%Y%m%d%H%M%SZ)
until=$(date -u -d '+30 days' +%Y%m%d%H%M%SZ)
issue good "$names" "$from" "$until"
issue expired "$names" 20200101000000Z 20200201000000Z
issue wrong-name DNS:elsewhere.test "$from" "$until"
issue not-yet "$names" 20990101000000Z 20990201000000Z
issue common-name '' "$from" "$until" localhost
issue wide-wildcard 'DNS:*.test,DNS:*' "$from" "$until"
issue part-wildcard 'DNS:x*.tnx.test' "$from" "$until"
issue address-as-name DNS:127.0.0.1 "$from" "$until"
issue for-clients "$names" "$from" "$until" for-clients extendedKeyUsage=clientAuth
issue for-signing "$names" "$from" "$until" for-signing keyUsage=critical,keyCertSign
issue client DNS:client.test "$from" "$until"

key self-signed
openssl req -x509 -new -key self-signed.key -subj "/CN=self-signed" -days 30 -out self-signed.pem \
  -addext "subjectAltName=$names"

openssl pkcs8 -topk8 -in client.key -passout pass:secret -out client-locked.key
openssl x509 -in client.pem -outform DER -out client.der
openssl pkey -in client.key -outform DER -out client-key.der
openssl pkcs12 -export -in client.pem -inkey client.key -passout pass:secret -out client.p12

for name in good self-signed; do
  printf 'sha256//%s' "$(openssl x509 -in $name.pem -pubkey -noout |
    openssl pkey -pubin -outform DER | openssl dgst -sha256 -binary | base64)" >$name.pin
done
