"""What a rogue server and others of the network try."""
import subprocess

from rogue_server import RogueServer
from stage import attack


def certificate(stage, name, host="IP:127.0.0.1"):
    """A self-signed certificate for the host, and its key."""
    names = [str(stage.folder / f"{name}.{kind}") for kind in ("pem", "key")]
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                    "-subj", f"/CN={name}", "-addext", f"subjectAltName={host}", "-out", names[0], "-keyout", names[1]], check=True, capture_output=True)
    return names


def own_address():
    """An address of this host that is not its loopback; none where it has no network."""
    words = subprocess.run(["hostname", "-I"], capture_output=True, text=True).stdout.split()
    return next((word for word in words if ":" not in word), None)


@attack
def password_asked_for_by_a_rogue_server(stage):
    """No method that gives the password away is gone into, neither first nor second, nor within unchecked TLS."""
    stage.put("password", "open-sesame", mode=0o600)
    secret = {"TARN_DB_PASSWORD_FILE": stage.folder / "password"}
    rogue, trusted = certificate(stage, "rogue"), certificate(stage, "trusted")
    neighbour = certificate(stage, "neighbour", "DNS:neighbour.example")
    for method in "mysql_clear_password", "dialog", "caching_sha2_password", "sha256_password", "mysql_old_password":
        for switches in True, False:
            with RogueServer(method, switches) as server:
                status, said = stage.convert("-N", TARN_DB_URL=f"mysql://u@127.0.0.1:{server.port}/d", **secret)
            asked = server.heard.endswith(b"\2") or server.heard.endswith(b"\1") # for the key to encrypt it with
            yield f"{method} gets no password: {said}", b"open-sesame" not in server.heard and not asked
            yield f"{method} is refused: {said}", status == 1 and "cannot connect: " in said
    for method in "mysql_clear_password", "caching_sha2_password":
        for setting, shown, authority in (("ssl-verify-server-cert=0", rogue, trusted),
                                          ("ssl-verify-server-cert=0", neighbour, neighbour),
                                          (f"ssl-ca={rogue[0]}", rogue, trusted)):
            stage.put("home/.my.cnf", f"[annomend]\n{setting}\n", mode=0o600)
            with RogueServer(method, certificate=shown) as server:
                url = f"mysql://u@127.0.0.1:{server.port}/d?ssl-ca={authority[0]}"
                status, said = stage.convert("-N", TARN_DB_URL=url, **secret)
            yield f"{setting} gives nothing away: {said}", b"open-sesame" not in server.heard
            yield f"{setting} is refused: {said}", status == 1 and "cannot connect: " in said


@attack
def listening_on_the_network(stage):
    """A connection that others could read or take over is told in the log, one on this host is not."""
    address, names = own_address(), stage.folder / "hosts"
    if not address:
        yield "this host has an address for the check (it could not be made)", False
        return
    names.write_text(f"{address} 127.example\n")
    for host, number, lines in ("127.0.0.1", "127.0.0.1", 0), (address, address, 1), ("127.example", address, 1):
        stage.log.unlink(missing_ok=True)
        with RogueServer(host=number) as server:
            stage.run("unshare", "-m", "sh", "-c", 'mount --bind "$0" /etc/hosts && exec "$@"', names, "annomend", "-N", "-f",
                      stage.state, "-o", f"{stage.out}/", account=0, TARN_DB_URL=f"mysql://u@{host}:{server.port}/d")
        told = stage.logged().count(f"DBConnector: the connection to {host} is not encrypted")
        yield f"the log tells of {host} {lines} times: {stage.logged()}", told == lines
