#!/usr/bin/env python3
"""relay.py PORT HOST HOST_PORT: connections to PORT of the loopback go on to HOST_PORT of HOST. Runs in the guest."""
import socket
import sys
import threading


def pump(source, sink):
    try:
        while data := source.recv(1 << 16):
            sink.sendall(data)
    except OSError:
        pass
    for each in source, sink: # either end's end is that of both
        try:
            each.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass


def main():
    port, host, host_port = int(sys.argv[1]), sys.argv[2], int(sys.argv[3])
    with socket.create_server(("127.0.0.1", port)) as listener:
        print("listening", flush=True)
        while True:
            client = listener.accept()[0]
            try:
                server = socket.create_connection((host, host_port), timeout=30)
            except OSError:
                client.close()
                continue
            server.settimeout(None)
            for each in client, server:
                each.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            threading.Thread(target=pump, args=(client, server), daemon=True).start()
            threading.Thread(target=pump, args=(server, client), daemon=True).start()


if __name__ == "__main__":
    main()
