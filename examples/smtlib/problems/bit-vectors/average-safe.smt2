; The average of two machine words without an overflow. Does it lie between them?
(set-logic QF_BV)
(declare-const a (_ BitVec 16))
(declare-const b (_ BitVec 16))
(define-fun average () (_ BitVec 16) (bvadd (bvand a b) (bvlshr (bvxor a b) #x0001)))
(assert (bvule a b))
(assert (not (and (bvule a average) (bvule average b))))
(check-sat)
