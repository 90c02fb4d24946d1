"""The HTTPS console's certificate: self-signed for loopback, made per server."""
import os
import ssl
import subprocess
import tempfile


def make_certificate(directory):
    """A self-signed certificate for loopback, made with the openssl command line."""
    cert, key = os.path.join(directory, "cert.pem"), os.path.join(directory, "key.pem")
    subprocess.check_call(
        ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", cert,
         "-days", "30", "-subj", "/CN=vorna-console-simulator",
         "-addext", "subjectAltName=IP:127.0.0.1,DNS:localhost"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return cert, key


def server_context():
    """(TLS server context, the temporary folder that holds its certificate and key).
    The folder belongs to the caller, who removes it when the server is done."""
    tmpdir = tempfile.mkdtemp(prefix="vorna-sim-")
    cert, key = make_certificate(tmpdir)
    ctx = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    ctx.load_cert_chain(cert, key)
    return ctx, tmpdir
