// Runs Perfetto's trace processor, as its viewer in the folder VIEWER carries it, for a program that speaks the processor's
// protocol on standard input and output:
//
//   node trace_processor.mjs VIEWER
//
// The bundle expects to run in a worker of a browser, so it is given what it uses of one, and does not see node.
import { readFileSync, writeSync } from 'node:fs'

const folder = process.argv[2]

class XMLHttpRequest {
    open(method, name) { this.name = name }
    send() { this.response = readFileSync(`${folder}/${this.name}`) }
}

const worker = { location: { href: 'file:///' } }
new Function('self', 'XMLHttpRequest', 'WorkerGlobalScope', 'process', readFileSync(`${folder}/engine_bundle.js`, 'utf8'))(
    worker, XMLHttpRequest, worker, undefined)
const port = {
    postMessage(bytes) {
        for (let at = 0; at < bytes.length; at += writeSync(1, bytes, at));
    }
}
worker.onmessage({ data: port })
process.stdin.on('data', (chunk) => port.onmessage({ data: chunk }))
