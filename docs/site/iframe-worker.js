// Browsers refuse workers to pages that come from disk. There the search runs in a hidden frame instead, which takes and
// sends messages as its worker does.
'use strict';
if (location.protocol === 'file:') {
  window.Worker = class extends EventTarget {
    constructor(url) {
      super();
      const frame = document.createElement('iframe');
      frame.hidden = true;
      frame.title = 'search';
      document.body.append(frame);
      frame.contentWindow.postMessage = data => this.dispatchEvent(new MessageEvent('message', { data }));
      const script = frame.contentDocument.createElement('script');
      this.loaded = new Promise((resolve, reject) => {
        script.onload = () => resolve(frame.contentWindow);
        script.onerror = reject;
      });
      script.src = url;
      frame.contentDocument.head.append(script);
    }

    postMessage(data) {
      this.loaded.then(frame => frame.dispatchEvent(new MessageEvent('message', { data })));
    }

    terminate() {}
  };
}
