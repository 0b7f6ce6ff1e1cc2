# python
# The standard library and threads work inside the host.
import ctypes
import datetime
import decimal
import json
import sqlite3
import ssl
import threading

results = {}


def square(number):
    results[number] = number * number


threads = [threading.Thread(target=square, args=(number,)) for number in range(10)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()

database = sqlite3.connect(":memory:")
print "squares:", json.dumps(results, sort_keys=True)
print "sqlite:", database.execute("select 6 * 7").fetchone()[0]
print "decimal:", decimal.Decimal("0.1") + decimal.Decimal("0.2")
print "days in 2024:", (datetime.date(2025, 1, 1) - datetime.date(2024, 1, 1)).days
print "pointer size:", ctypes.sizeof(ctypes.c_void_p)
print "ssl:", ssl.OPENSSL_VERSION.split()[0]
