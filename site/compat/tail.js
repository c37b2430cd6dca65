return api;
})(typeof window !== 'undefined' ? window : this);
